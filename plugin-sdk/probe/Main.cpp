// Looks at a plug-in library in a child process and prints what it is as one JSON object.
//
//   qvs-plugin-probe describe FILE.so [--deadline MS]
//   qvs-plugin-probe encode FILE.so [--codec 7|8|12] [--version N] [--size WxH] [--deadline MS]
//   qvs-plugin-probe screen DEADLINE_MS FILE.so...
//
// "screen" prints a line for each file that crashes or hangs when it is loaded and asked for its version: the file, a tab and
// what it does. Its exit code is 0 where it could ask them all.
// "encode" makes a session too: ten pictures through an encoder, a decoder is opened. Exit code 0: available, and what was
// tried works; 1: not, and "state" and "reason" say why; 2: it was called wrongly.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "Probe.h"

using namespace qvs::probe;

namespace {

constexpr int kWorks = 0, kFails = 1, kUsage = 2;
constexpr uint32_t kMostSide = 16384, kMostDeadlineMs = 3'600'000;

struct Command {
  ProbeRequest request;
  uint32_t deadlineMs = 5000;
};

bool readNumber(const char* text, uint32_t least, uint32_t most, uint32_t& number) {
  char* end = nullptr;
  const unsigned long long read = std::strtoull(text, &end, 10);
  if (end == text || *end != '\0' || *text == '-' || read < least || read > most) return false;
  number = static_cast<uint32_t>(read);
  return true;
}

bool readSize(const char* text, TrialSettings& settings) {
  const char* cross = std::strchr(text, 'x');
  return cross != nullptr && readNumber(std::string(text, cross).c_str(), 1, kMostSide, settings.width) &&
         readNumber(cross + 1, 1, kMostSide, settings.height);
}

bool readOption(const std::string& name, const char* value, Command& command) {
  TrialSettings& settings = command.request.settings;
  if (name == "--deadline") return readNumber(value, 1, kMostDeadlineMs, command.deadlineMs);
  if (!command.request.tries) return false;
  if (name == "--codec") return readNumber(value, 0, 1000, settings.codec);
  if (name == "--version") return readNumber(value, 0, 1000, settings.codecVersion);
  return name == "--size" && readSize(value, settings);
}

bool readCommand(int count, char** arguments, Command& command) {
  if (count < 3 || count % 2 == 0) return false;
  const std::string verb = arguments[1];
  if (verb != "describe" && verb != "encode") return false;
  command.request.tries = verb == "encode";
  command.request.file = arguments[2];
  command.request.settings.folder = std::filesystem::path(arguments[2]).parent_path();
  for (int i = 3; i < count; i += 2) {
    if (!readOption(arguments[i], arguments[i + 1], command)) return false;
  }
  return true;
}

/// The report on a library that took its process with it.
std::string reportOf(const Outcome& outcome, const std::string& file) {
  using End = Outcome::End;
  const char* state = outcome.end == End::kHung         ? "hung"
                      : outcome.end == End::kNotStarted ? "broken"
                                                        : "crashed";
  Json report = Json::parse(outcome.document, nullptr, false);
  if (!report.is_object()) report = {{"file", file}};
  report["state"] = state;
  report["reason"] = outcome.words;
  return written(report);
}

bool works(const std::string& document) {
  const Json report = Json::parse(document, nullptr, false);
  return report.value("state", "") == "available" &&
         (!report.contains("trial") || report["trial"].value("works", false));
}

int screen(uint32_t deadlineMs, char** files) {
  for (; *files != nullptr; ++files) {
    const ProbeRequest request{*files, false, {}};
    const Outcome outcome = runApart(std::chrono::milliseconds(deadlineMs),
                                     [&](Steps& steps) { return written(probe(request, steps)); });
    if (outcome.end == Outcome::End::kNotStarted) return kFails;
    if (outcome.end != Outcome::End::kDone) std::printf("%s\t%s\n", *files, outcome.words.c_str());
  }
  return kWorks;
}

}  // namespace

int main(int count, char** arguments) {
  if (uint32_t deadline = 0; count > 3 && std::strcmp(arguments[1], "screen") == 0 &&
                             readNumber(arguments[2], 1, kMostDeadlineMs, deadline)) {
    return screen(deadline, arguments + 3);
  }
  Command command;
  if (!readCommand(count, arguments, command)) {
    std::fputs(
        "usage: qvs-plugin-probe describe FILE.so [--deadline MS]\n"
        "       qvs-plugin-probe encode FILE.so [--codec N] [--version N] [--size WxH] [--deadline MS]\n"
        "       qvs-plugin-probe screen DEADLINE_MS FILE.so...\n",
        stderr);
    return kUsage;
  }
  const Outcome outcome = runApart(std::chrono::milliseconds(command.deadlineMs),
                                   [&](Steps& steps) { return written(probe(command.request, steps)); });
  const bool done = outcome.end == Outcome::End::kDone;
  const std::string document = done ? outcome.document : reportOf(outcome, command.request.file);
  std::puts(document.c_str());
  return works(document) ? kWorks : kFails;
}
