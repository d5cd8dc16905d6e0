// A child process for code that may crash, hang or end its process, and what its end is called.
#include "Apart.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace qvs::probe {

using Clock = std::chrono::steady_clock;

/// Lies in memory of both processes, so that it outlives the child.
struct SharedReport {
  static constexpr size_t kRoom = 1 << 20;
  char step[64];
  std::atomic<bool> isDone;
  std::atomic<size_t> length;  ///< of the document
  char document[kRoom];
};

void Steps::begin(const char* step) {
  std::strncpy(report.step, step, sizeof report.step - 1);
}

void Steps::keep(const std::string& document) {
  if (document.size() > SharedReport::kRoom) return;
  report.length.store(0);
  std::memcpy(report.document, document.data(), document.size());
  report.length.store(document.size());
}

namespace {

constexpr std::chrono::milliseconds kTimeToDie{500};

/// Memory that a child shares with its parent.
class SharedMemory {
 public:
  SharedMemory() {
    void* mapped =
        mmap(nullptr, sizeof(SharedReport), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (mapped != MAP_FAILED) report = static_cast<SharedReport*>(mapped);
  }
  ~SharedMemory() {
    if (report != nullptr) munmap(report, sizeof(SharedReport));
  }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  SharedReport* report = nullptr;
};

/// A file without a name, which takes what the child prints.
class Swallowed {
 public:
  Swallowed() : file(memfd_create("said", MFD_CLOEXEC)) {}
  ~Swallowed() {
    if (file >= 0) close(file);
  }
  Swallowed(const Swallowed&) = delete;
  Swallowed& operator=(const Swallowed&) = delete;

  /// False where standard output and error couldn't be turned into it.
  bool takeOver() const { return dup2(file, STDOUT_FILENO) >= 0 && dup2(file, STDERR_FILENO) >= 0; }

  std::string lastLine() const {
    char text[2048];
    const off_t end = lseek(file, 0, SEEK_END);
    const off_t from = std::max<off_t>(0, end - static_cast<off_t>(sizeof text));
    const ssize_t got = end > 0 ? pread(file, text, sizeof text, from) : 0;
    std::string said(text, got > 0 ? static_cast<size_t>(got) : 0);
    said.erase(said.find_last_not_of("\n\r ") + 1);
    return said.substr(said.find_last_of('\n') + 1);
  }

 private:
  int file;
};

[[noreturn]] void runInChild(SharedReport& report, const Swallowed& said, pid_t parent, const sigset_t& mask,
                             const std::function<std::string(Steps&)>& work) {
  // A process group of its own: what a driver starts ends with it.
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  if (getppid() != parent || !said.takeOver()) _exit(1);
  for (int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) std::signal(number, SIG_DFL);
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  Steps steps(report);
  steps.keep(work(steps));
  report.isDone.store(true);
  _exit(0);
}

/// The child's end as waitpid tells it; false where it hasn't come by then.
bool waitUntil(Clock::time_point then, const sigset_t& childSignal, pid_t child, int& status) {
  while (true) {
    if (waitpid(child, &status, WNOHANG) == child) return true;
    const auto left = std::chrono::nanoseconds(then - Clock::now()).count();
    if (left <= 0) return false;
    const timespec time{left / 1'000'000'000, left % 1'000'000'000};
    sigtimedwait(&childSignal, nullptr, &time);
  }
}

/// "in getVersion", "while loading": where the child was.
std::string placeOf(const SharedReport& report) {
  const std::string step(report.step, strnlen(report.step, sizeof report.step));
  return (step.ends_with("loading") ? "while " : "in ") + step;
}

std::string behind(const std::string& words, const std::string& said) {
  return said.empty() ? words : words + ": " + said;
}

Outcome outcomeOf(int status, const SharedReport& report, const Swallowed& said) {
  const std::string document(report.document, report.length.load());
  if (report.isDone.load()) return {Outcome::End::kDone, "", document};
  if (WIFSIGNALED(status)) {
    const std::string words = "crashed " + placeOf(report) + " (" + strsignal(WTERMSIG(status)) + ")";
    return {Outcome::End::kCrashed, behind(words, said.lastLine()), document};
  }
  const std::string words =
      "ended the process with code " + std::to_string(WEXITSTATUS(status)) + " " + placeOf(report);
  return {Outcome::End::kExited, behind(words, said.lastLine()), document};
}

Outcome waitFor(pid_t child, std::chrono::milliseconds deadline, const sigset_t& childSignal,
                const SharedReport& report, const Swallowed& said) {
  int status = 0;
  if (waitUntil(Clock::now() + deadline, childSignal, child, status)) return outcomeOf(status, report, said);
  kill(-child, SIGKILL);
  kill(child, SIGKILL);
  // A process inside a driver may not die at once, or ever: nobody waits for it.
  const bool dead = waitUntil(Clock::now() + kTimeToDie, childSignal, child, status);
  std::string words = "hung " + placeOf(report) + " (over " + std::to_string(deadline.count()) + " ms)";
  if (!dead) words += ", and can't be killed";
  const std::string document(report.document, report.length.load());
  return {Outcome::End::kHung, behind(words, said.lastLine()), document};
}

}  // namespace

Outcome runApart(std::chrono::milliseconds deadline, const std::function<std::string(Steps&)>& work) {
  const SharedMemory memory;
  const Swallowed said;
  if (memory.report == nullptr) return {Outcome::End::kNotStarted, "no memory for a child process", ""};
  // Whoever started this process may have it ignored, and then no child's end could be asked for.
  std::signal(SIGCHLD, SIG_DFL);
  sigset_t childSignal, before;
  sigemptyset(&childSignal);
  sigaddset(&childSignal, SIGCHLD);
  sigprocmask(SIG_BLOCK, &childSignal, &before);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == 0) runInChild(*memory.report, said, parent, before, work);
  if (child < 0) return {Outcome::End::kNotStarted, std::string("no child process: ") + strerror(errno), ""};
  return waitFor(child, deadline, childSignal, *memory.report, said);
}

}  // namespace qvs::probe
