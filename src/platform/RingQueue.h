#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace qvs {

/// First in, first out. Keeps its memory, so that a queue of steady length never allocates.
template <typename Value>
class RingQueue {
 public:
  bool empty() const { return count == 0; }
  size_t size() const { return count; }
  /// Of the queue that isn't empty.
  Value& front() { return slots[head]; }
  /// `index` counts from the front.
  Value& operator[](size_t index) { return slots[(head + index) & (slots.size() - 1)]; }

  void push(Value value) {
    if (count == slots.size()) grow();
    ++count;
    (*this)[count - 1] = std::move(value);
  }

  /// Of the queue that isn't empty; what the value holds is released now.
  void pop() {
    slots[head] = Value{};
    head = (head + 1) & (slots.size() - 1);
    --count;
  }

  /// Takes back the last that was pushed; of the queue that isn't empty.
  void popBack() {
    (*this)[count - 1] = Value{};
    --count;
  }

  void clear() {
    while (!empty()) pop();
  }

 private:
  void grow() {
    std::vector<Value> larger(slots.empty() ? 8 : slots.size() * 2);
    for (size_t i = 0; i < count; ++i) larger[i] = std::move((*this)[i]);
    slots = std::move(larger);
    head = 0;
  }

  std::vector<Value> slots;  ///< a power of two
  size_t head = 0;
  size_t count = 0;
};

}  // namespace qvs
