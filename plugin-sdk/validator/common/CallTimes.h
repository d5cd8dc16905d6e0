#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace qvs::validator {

/// How long the calls of each entry point took.
class CallTimes {
 public:
  /// Tells `enter` of the call, and adds its length to the table when it is over.
  class Call {
   public:
    Call(CallTimes& table, const char* entryPoint);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    CallTimes& times;
    const char* name;
    std::chrono::steady_clock::time_point begin;
  };

  /// A line an entry point: the mean in microseconds.
  std::string text() const;

 private:
  struct Sum {
    uint64_t calls = 0;
    std::chrono::nanoseconds total{};
  };
  std::map<std::string, Sum> sums;
};

}  // namespace qvs::validator
