#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace qvs::probe {

struct SharedReport;

/// By which a child process says what it is about and what it knows, so that neither is lost with it.
class Steps {
 public:
  explicit Steps(SharedReport& target) : report(target) {}
  void begin(const char* step);

  /// What is known so far.
  void keep(const std::string& document);

 private:
  SharedReport& report;
};

/// How a child process went.
struct Outcome {
  enum class End { kDone, kCrashed, kExited, kHung, kNotStarted };
  End end = End::kNotStarted;
  std::string words;     ///< what happened, where it isn't kDone
  std::string document;  ///< what `work` gave; what it kept, where it isn't kDone
};

/// Runs `work` in a process of its own, which neither outlives the deadline nor this process. What it prints on standard
/// output and error is swallowed, but for its last line, which is put behind the words of a bad end.
Outcome runApart(std::chrono::milliseconds deadline, const std::function<std::string(Steps&)>& work);

}  // namespace qvs::probe
