// A program run as a child process, its output read within bounds of time and size.
#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <thread>

namespace qvs {

namespace {

using Clock = std::chrono::steady_clock;

/// An open file, closed with the object.
struct OpenFile {
  ~OpenFile() { close(); }
  void close() {
    if (number >= 0) ::close(number);
    number = -1;
  }
  int number = -1;
};

class SpawnSettings {
 public:
  explicit SpawnSettings(int output) {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // A process group of its own, so that what it starts can be ended with it; none of the caller's blocked signals.
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  int spawn(pid_t* child, const std::vector<std::string>& command) const {
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    return posix_spawnp(child, arguments[0], &actions, &attributes, arguments.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

/// Until the end of the child's output. False: the time or the room is over.
bool readAll(int file, Clock::time_point end, size_t most, ChildOutcome& outcome) {
  std::array<char, 4096> block;
  while (true) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd waiting{file, POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(std::clamp<int64_t>(left, 0, 1 << 30)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return false;
    const ssize_t got = read(file, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return true;
    const size_t taken = std::min(static_cast<size_t>(got), most - outcome.output.size());
    outcome.output.append(block.data(), taken);
    if (taken < static_cast<size_t>(got)) {
      outcome.isCutOff = true;
      return false;
    }
  }
}

/// The child's end, by the deadline or by force.
void reap(pid_t child, Clock::time_point end, ChildOutcome& outcome) {
  constexpr std::chrono::milliseconds kLook{1};
  int status = 0;
  pid_t ended = 0;
  while (ended == 0 && Clock::now() < end) {
    ended = waitpid(child, &status, WNOHANG);
    if (ended == 0) std::this_thread::sleep_for(kLook);
  }
  kill(-child, SIGKILL);
  const bool isLate = ended == 0;
  while (ended == 0 || (ended < 0 && errno == EINTR)) ended = waitpid(child, &status, 0);
  // Where the process ignores the signal of its children nobody knows their end; what was read stands.
  if (ended < 0) status = 0;
  outcome.end = isLate                ? ChildOutcome::End::kLate
                : WIFSIGNALED(status) ? ChildOutcome::End::kSignalled
                                      : ChildOutcome::End::kExited;
  outcome.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

ChildOutcome runChildProcess(const std::vector<std::string>& command, std::chrono::milliseconds deadline,
                             size_t mostOutput) {
  ChildOutcome outcome;
  const Clock::time_point end = Clock::now() + deadline;
  OpenFile reading, writing;
  int ends[2];
  if (command.empty() || pipe2(ends, O_CLOEXEC) != 0) {
    outcome.code = command.empty() ? EINVAL : errno;
    return outcome;
  }
  reading.number = ends[0];
  writing.number = ends[1];
  pid_t child = 0;
  outcome.code = SpawnSettings(writing.number).spawn(&child, command);
  if (outcome.code != 0) return outcome;
  writing.close();
  const bool isWhole = readAll(reading.number, end, mostOutput, outcome);
  reap(child, isWhole ? end : Clock::now(), outcome);
  return outcome;
}

}  // namespace qvs
