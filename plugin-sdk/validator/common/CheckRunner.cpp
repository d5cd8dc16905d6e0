// Runs each rule in a child process, so that a plug-in that crashes or hangs fails one rule only.
#include "common/CheckRunner.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "common/GuardedBytes.h"

namespace qvs::validator {
namespace {

int verdictPipe = -1;  // of the child

// Lies in memory that parent and child share: the parent tells of a child that can't tell any more.
std::atomic<const char*>& lastEntered() {
  static auto* const shared = static_cast<std::atomic<const char*>*>(mmap(
      nullptr, sizeof(std::atomic<const char*>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return *shared;
}

// "addFrame2 ", or nothing.
std::string where() {
  const char* entryPoint = lastEntered();
  return entryPoint == nullptr ? std::string{} : std::string(entryPoint) + " ";
}

bool tell(const Verdict& verdict) {
  const std::string line = static_cast<char>(verdict.kind) + verdict.text;
  size_t told = 0;
  while (told < line.size()) {
    const ssize_t got = write(verdictPipe, line.data() + told, line.size() - told);
    if (got <= 0) return false;
    told += static_cast<size_t>(got);
  }
  return true;
}

void onBadAccess(int, siginfo_t* info, void*) {
  tell({Verdict::kBroken, where() + GuardedBytes::describe(info->si_addr)});
  _exit(0);
}

// On a stack of its own: a plug-in may have used up the common one.
void catchBadAccesses() {
  static std::array<char, 1 << 16> stackMemory;
  stack_t stack{};
  stack.ss_sp = stackMemory.data();
  stack.ss_size = stackMemory.size();
  sigaltstack(&stack, nullptr);
  struct sigaction action {};
  action.sa_sigaction = onBadAccess;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigaction(SIGSEGV, &action, nullptr);
  sigaction(SIGBUS, &action, nullptr);
}

[[noreturn]] void runInChild(const std::function<Verdict()>& body, int pipe) {
  verdictPipe = pipe;
  catchBadAccesses();
  _exit(tell(body()) ? 0 : 1);
}

// What comes out of the pipe until its end or the deadline; `late` tells which.
std::string readAll(int pipe, unsigned seconds, bool& late) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::seconds(seconds);
  std::string text;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd wait{pipe, POLLIN, 0};
    late = left <= 0 || poll(&wait, 1, static_cast<int>(left)) == 0;
    if (late) return text;
    char block[4096];
    const ssize_t got = read(pipe, block, sizeof block);
    if (got <= 0) return text;
    text.append(block, static_cast<size_t>(got));
  }
}

std::string howItEnded(int status) {
  if (WIFEXITED(status)) return "ended the process with code " + std::to_string(WEXITSTATUS(status));
  return std::string("was ended by a signal (") + strsignal(WTERMSIG(status)) + ")";
}

}  // namespace

void enter(const char* entryPoint) {
  lastEntered() = entryPoint;
}

Verdict runApart(const std::function<Verdict()>& body, unsigned secondsAllowed) {
  int ends[2];
  if (pipe(ends) != 0) return std::string("could not be checked: no pipe");
  fflush(stdout);
  enter(nullptr);
  const pid_t child = fork();
  if (child == 0) runInChild(body, ends[1]);
  close(ends[1]);
  if (child < 0) {
    close(ends[0]);
    return std::string("could not be checked: no process");
  }
  bool late = false;
  const std::string told = readAll(ends[0], secondsAllowed, late);
  close(ends[0]);
  if (late) kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  if (late) return where() + "did not come back within " + std::to_string(secondsAllowed) + " seconds";
  if (told.empty()) return where() + howItEnded(status);
  return {static_cast<Verdict::Kind>(told[0]), told.substr(1)};
}

int runAll(const std::vector<Check>& checks, unsigned secondsAllowed) {
  int broken = 0;
  for (const Check& check : checks) {
    const Verdict verdict = runApart(check.run, secondsAllowed);
    if (verdict.kind == Verdict::kBroken) {
      printf("WRONG %s: %s\n", check.rule, verdict.text.c_str());
      ++broken;
    } else if (verdict.kind == Verdict::kNotOffered) {
      printf("--    %s: lacks %s\n", check.rule, verdict.text.c_str());
    } else {
      printf("ok    %s%s%s\n", check.rule, verdict.text.empty() ? "" : ": ", verdict.text.c_str());
    }
  }
  return broken;
}

}  // namespace qvs::validator
