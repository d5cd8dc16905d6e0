#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace qvs::probe {

struct SharedReport;

/// By which a child process says what it is about, so that a crash or a hang has a name.
class Steps {
 public:
  explicit Steps(SharedReport& target) : report(target) {}
  void begin(const char* step);

 private:
  SharedReport& report;
};

/// How a child process went.
struct Outcome {
  enum class End { kDone, kCrashed, kExited, kHung, kNotStarted };
  End end = End::kNotStarted;
  std::string words;     ///< what happened, where it isn't kDone
  std::string document;  ///< what `work` gave, where it is
};

/// Runs `work` in a process of its own, which neither outlives the deadline nor this process. What it prints on standard
/// output and error is swallowed, but for its last line, which is put behind the words of a bad end.
Outcome runApart(std::chrono::milliseconds deadline, const std::function<std::string(Steps&)>& work);

}  // namespace qvs::probe
