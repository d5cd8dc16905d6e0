// The fault script of the fakes: reading it, counting calls, and the faults that need nothing of the fake.
#include "FaultScript.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace qvs::fakes {
namespace {

[[noreturn]] void unreadable(std::string_view entry) {
  std::fprintf(stderr, "QVS_FAKE_FAULTS: can't read \"%.*s\"\n", static_cast<int>(entry.size()),
               entry.data());
  _exit(2);
}

int64_t numberOf(std::string_view text, std::string_view entry) {
  const std::string copy(text);
  char* end = nullptr;
  const long long number = std::strtoll(copy.c_str(), &end, 0);
  const std::string_view unit(end);
  if (end == copy.c_str()) unreadable(entry);
  if (unit.empty()) return number;
  const size_t power = std::string_view("KMG").find(unit);
  if (unit.size() != 1 || power == std::string_view::npos) unreadable(entry);
  return number << (10 * (power + 1));
}

}  // namespace

void FaultScript::set(std::string_view text) {
  const std::lock_guard hold(lock);
  orders.clear();
  values.clear();
  counts.clear();
  total = 0;
  lastFaulty.clear();
  while (!text.empty()) {
    const size_t end = std::min(text.find(';'), text.size());
    if (end > 0) add(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

void FaultScript::add(std::string_view entry) {
  const size_t equals = entry.find('=');
  if (equals == std::string_view::npos || equals == 0) unreadable(entry);
  const std::string_view left = entry.substr(0, equals), right = entry.substr(equals + 1);
  const size_t at = left.find('@');
  if (at == std::string_view::npos) {
    values[std::string(left)] = right;
    return;
  }
  std::string_view count = left.substr(at + 1);
  const bool onwards = count.ends_with('+');
  if (onwards) count.remove_suffix(1);
  const size_t colon = right.find(':');
  const std::string_view action = right.substr(0, colon);
  const bool valued = action == "status" || action == "late";
  if (!valued && action != "never" && action != "hang" && action != "crash") unreadable(entry);
  if (valued != (colon != std::string_view::npos)) unreadable(entry);
  const auto from = static_cast<uint64_t>(numberOf(count, entry));
  orders.push_back({std::string(left.substr(0, at)), from,
                    onwards ? std::numeric_limits<uint64_t>::max() : from, std::string(action),
                    valued ? numberOf(right.substr(colon + 1), entry) : 0});
}

const FaultScript::Order* FaultScript::due(const char* name) {
  const uint64_t count = ++counts[name];
  ++total;
  for (const Order& order : orders) {
    const uint64_t reached = order.call == "any" ? total : order.call == name ? count : 0;
    if (reached >= order.from && reached <= order.to) return &order;
  }
  return nullptr;
}

Fault FaultScript::next(const char* name) {
  std::string action;
  int64_t value = 0;
  {
    const std::lock_guard hold(lock);
    const Order* order = due(name);
    if (order == nullptr) return {};
    action = order->action;
    value = order->value;
    lastFaulty = name;
  }
  if (action == "crash") std::abort();
  while (action == "hang") pause();
  if (action == "never") return {Fault::Kind::kNever, 0};
  return {action == "late" ? Fault::Kind::kLate : Fault::Kind::kStatus, value};
}

uint64_t FaultScript::calls() {
  const std::lock_guard hold(lock);
  return total;
}

std::string FaultScript::faulty() {
  const std::lock_guard hold(lock);
  return lastFaulty;
}

bool FaultScript::is(const std::string& name, std::string_view word) const {
  const auto found = values.find(name);
  return found != values.end() && found->second == word;
}

std::string FaultScript::text(const std::string& name, std::string_view otherwise) const {
  const auto found = values.find(name);
  return found == values.end() ? std::string(otherwise) : found->second;
}

int64_t FaultScript::number(const std::string& name, int64_t otherwise) const {
  const auto found = values.find(name);
  return found == values.end() ? otherwise : numberOf(found->second, name);
}

FaultScript& faultScript() {
  // Never destroyed: a driver's threads may outlive the statics.
  static FaultScript* script = [] {
    auto* made = new FaultScript;
    const char* text = std::getenv("QVS_FAKE_FAULTS");
    made->set(text != nullptr ? text : "");
    return made;
  }();
  return *script;
}

}  // namespace qvs::fakes
