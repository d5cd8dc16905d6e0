// The clock around a plug-in's entry points.
#include "common/CallTimes.h"

#include <cstdio>

#include "common/CheckRunner.h"

namespace qvs::validator {

CallTimes::Call::Call(CallTimes& table, const char* entryPoint) : times(table), name(entryPoint) {
  enter(name);
  begin = std::chrono::steady_clock::now();
}

CallTimes::Call::~Call() {
  Sum& sum = times.sums[name];
  sum.total += std::chrono::steady_clock::now() - begin;
  ++sum.calls;
  enter(nullptr);
}

std::string CallTimes::text() const {
  std::string text;
  for (const auto& [name, sum] : sums) {
    const double mean = static_cast<double>(sum.total.count()) / 1000.0 / static_cast<double>(sum.calls);
    char line[96];
    snprintf(line, sizeof line, "\n      %10.1f us %s", mean, name.c_str());
    text += line;
  }
  return text;
}

}  // namespace qvs::validator
