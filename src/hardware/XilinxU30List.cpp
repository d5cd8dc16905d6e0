// Running the cards' administration tool and reading its list.
#include "hardware/XilinxU30List.h"

#include <fcntl.h>
#include <poll.h>
#include <re2/re2.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <memory>

#include "log/LogGlobalLogger.h"

namespace qvs {

namespace {

constexpr const char* kTool = "/opt/xilinx/xrm/bin/xrmadm";
constexpr const char* kToolCommand = "/opt/xilinx/xrm/test/list_cmd.json";
constexpr const char* kLabel = "XilinxU30Utils::xilinxList";
constexpr int kSecondsMax = 20;

constexpr const char* kPlugins =
    R"re(xrmPlugin_[0-9]+":\s+\{[\n|\s|\r]+[\s|\n|\r]+"xrmPluginName[\s]+":[\s]+"(.*)")re";
constexpr const char* kKernels = R"re(\B"device_[0-9]+.*\n|\s+"kernelAlias\s+":\s+"(\w+)")re";
constexpr const char* kDevices = R"re(\B"(device_[0-9]+))re";
constexpr const char* kFirmware = R"re(\B"device_[0-9]+.*\n|\s+"xclbinName\s+":\s+"(.*)")re";

void tell(const char* reason, int64_t number) {
  LogGlobalLogger::getInstance()->tell(kLabel, {.reason = reason, .number = number});
}

struct FileActions {
  FileActions() { posix_spawn_file_actions_init(&actions); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  posix_spawn_file_actions_t actions;
};

pid_t start(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  // The call takes pointers to what it only reads.
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  FileActions files;
  posix_spawn_file_actions_adddup2(&files.actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&files.actions, STDIN_FILENO, "/dev/null", 0, 0);
  pid_t child = 0;
  const int failed = posix_spawnp(&child, arguments[0], &files.actions, nullptr, arguments.data(), environ);
  if (failed == 0) return child;
  tell("The list of cards can't be asked for", failed);
  return 0;
}

/// All that comes until the other end closes; false where it was too much or took too long.
bool drain(int input, std::string* text) {
  std::array<char, 65536> block;
  while (true) {
    pollfd ready{input, POLLIN, 0};
    const int polled = poll(&ready, 1, kSecondsMax * 1000);
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) {
      tell("The list of cards didn't end; seconds waited", kSecondsMax);
      return false;
    }
    const ssize_t got = ::read(input, block.data(), block.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return true;
    const size_t room = XilinxU30List::kOutputMax - text->size();
    text->append(block.data(), std::min(room, static_cast<size_t>(got)));
    if (static_cast<size_t>(got) <= room) continue;
    tell("The list of cards is too long; bytes read of it", static_cast<int64_t>(text->size()));
    return false;
  }
}

void awaitEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
}

bool holdsAll(const std::set<std::string>& found, std::initializer_list<const char*> wanted) {
  for (const char* name : wanted) {
    if (found.count(name) == 0) return false;
  }
  return true;
}

}  // namespace

std::string XilinxU30List::exec(const std::vector<std::string>& command) {
  std::string text;
  std::array<int, 2> ends{};
  // Closed in the child, whose standard output is a copy.
  if (command.empty() || pipe2(ends.data(), O_CLOEXEC) != 0) return text;
  const pid_t child = start(command, ends[1]);
  ::close(ends[1]);
  const bool whole = child == 0 || drain(ends[0], &text);
  ::close(ends[0]);
  if (child == 0) return text;
  if (!whole) kill(child, SIGKILL);
  awaitEnd(child);
  return text;
}

std::string XilinxU30List::xilinxList() {
  // Starting an interpreter only to be told that it has nothing to run would cost each start of the library.
  if (access(kTool, R_OK) != 0) return {};
  return exec({"python3", kTool, kToolCommand});
}

std::set<std::string> XilinxU30List::parseJson(const std::string& text, const std::string& expression) {
  RE2::Options options(RE2::Latin1);  // garbage is bytes, not an error
  options.set_log_errors(false);
  const RE2 search(expression, options);
  std::set<std::string> found;
  if (!search.ok() || search.NumberOfCapturingGroups() < 1) return found;
  re2::StringPiece rest(text);
  std::array<re2::StringPiece, 2> groups;
  size_t from = 0;
  while (from <= text.size() && search.Match(rest, from, text.size(), RE2::UNANCHORED, groups.data(), 2)) {
    if (groups[1].data() != nullptr && !groups[1].empty()) found.insert(std::string(groups[1]));
    const auto end = static_cast<size_t>(groups[0].data() - text.data()) + groups[0].size();
    from = groups[0].empty() ? end + 1 : end;
  }
  return found;
}

void XilinxU30List::read(const std::string& text, HardwareInfoU30* info) {
  info->pluginsLoaded =
      holdsAll(parseJson(text, kPlugins), {"xrmU30DecPlugin", "xrmU30ScalPlugin", "xrmU30EncPlugin"}) ? 1 : 0;
  info->cuExists = holdsAll(parseJson(text, kKernels),
                            {"SCALER_MPSOC", "ENCODER_MPSOC", "LOOKAHEAD_MPSOC", "DECODER_MPSOC"})
                       ? 1
                       : 0;
  info->isXilinxU30Available = info->pluginsLoaded != 0 && info->cuExists != 0 ? 1 : 0;
  info->deviceCount = static_cast<int64_t>(parseJson(text, kDevices).size());
  const std::set<std::string> firmware = parseJson(text, kFirmware);
  info->xclbinName = firmware.empty() ? "" : *firmware.begin();
}

}  // namespace qvs
