#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace qvs {

/// What a child process wrote on its standard output, and how it ended.
struct ChildOutcome {
  enum class End { kExited, kSignalled, kLate, kNotStarted };
  End end = End::kNotStarted;
  int code = 0;           ///< exit code, or the signal's number, or errno where it was not started
  bool isCutOff = false;  ///< it wrote more than was asked for
  std::string output;
};

/// Runs a program without a shell: `command[0]` is its path, or a name that PATH knows. Its standard input and error are
/// /dev/null. It is killed when the deadline passes or when it has written more than `mostOutput` bytes. For any thread.
ChildOutcome runChildProcess(const std::vector<std::string>& command, std::chrono::milliseconds deadline,
                             size_t mostOutput);

}  // namespace qvs
