// Runs each rule in a child process, so that a plug-in that crashes or hangs fails one rule only.
#include "CheckRunner.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace qvs::validator {
namespace {

constexpr unsigned kSecondsAllowed = 60;

std::string howItEnded(int status) {
  if (WIFEXITED(status)) return "ended the process with code " + std::to_string(WEXITSTATUS(status));
  const int number = WTERMSIG(status);
  if (number == SIGALRM) return "did not come back within " + std::to_string(kSecondsAllowed) + " seconds";
  const std::string name = strsignal(number);
  return number == SIGSEGV || number == SIGBUS ? "touched memory outside the pictures (" + name + ")"
                                               : "was ended by a signal (" + name + ")";
}

std::string readAll(int pipe) {
  std::string text;
  char block[512];
  for (ssize_t got; (got = read(pipe, block, sizeof block)) > 0;) text.append(block, got);
  return text;
}

// Never returns. The sanitizers' handlers would hide the signal, so it gets its plain effect.
[[noreturn]] void runInChild(const Check& check, const PluginVideoScaler& plugin, int pipe) {
  signal(SIGSEGV, SIG_DFL);
  signal(SIGBUS, SIG_DFL);
  alarm(kSecondsAllowed);
  const std::string verdict = "." + check.run(plugin);
  const bool told = write(pipe, verdict.data(), verdict.size()) == static_cast<ssize_t>(verdict.size());
  _exit(told ? 0 : 1);
}

}  // namespace

std::string runApart(const Check& check, const PluginVideoScaler& plugin) {
  int ends[2];
  if (pipe(ends) != 0) return "could not be checked: no pipe";
  const pid_t child = fork();
  if (child == 0) runInChild(check, plugin, ends[1]);
  close(ends[1]);
  const std::string verdict = readAll(ends[0]);
  close(ends[0]);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return "could not be checked: no process";
  // A verdict begins with a point; without one the process ended inside the check.
  return verdict.empty() ? howItEnded(status) : verdict.substr(1);
}

}  // namespace qvs::validator
