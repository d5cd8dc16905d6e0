// Which plug-ins crash or hang when they are loaded, found out in another process.
#include "hardware/PluginScreen.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>

#include "log/LogGlobalLogger.h"
#include "platform/ChildProcess.h"

namespace qvs {

namespace {

constexpr std::chrono::milliseconds kPerFile{3000}, kToStart{2000};
constexpr size_t kMostOutput = 64 * 1024;

// Installed it lies beside the plug-ins, in a build folder beside their folder.
std::string probeBeside(const std::string& file) {
  const std::filesystem::path folder = std::filesystem::path(file).parent_path();
  const std::string installed = (folder / "qvs-plugin-probe").string();
  return access(installed.c_str(), X_OK) == 0 ? installed
                                              : (folder.parent_path() / "bin/qvs-plugin-probe").string();
}

}  // namespace

std::map<std::string, std::string> findUnsafePlugins(const std::vector<std::string>& files) {
  std::map<std::string, std::vector<std::string>> byProbe;
  for (const std::string& file : files) {
    if (access(file.c_str(), R_OK) == 0) byProbe[probeBeside(file)].push_back(file);
  }
  std::map<std::string, std::string> unsafe;
  for (const auto& [probe, asked] : byProbe) {
    if (access(probe.c_str(), X_OK) != 0) continue;
    std::vector<std::string> command{probe, "screen", std::to_string(kPerFile.count())};
    command.insert(command.end(), asked.begin(), asked.end());
    // One that can't be killed takes some longer than its deadline.
    const auto deadline = kToStart + 2 * kPerFile * static_cast<int>(asked.size());
    const ChildOutcome outcome = runChildProcess(command, deadline, kMostOutput);
    if (outcome.end != ChildOutcome::End::kExited || outcome.code != 0) {
      LogGlobalLogger::getInstance()->tell(
          "HardwareInspector::inspect", {.reason = "Plug-ins can't be tried apart", .number = outcome.code});
    }
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) {
      if (const size_t tab = line.find('\t'); tab != std::string::npos) {
        unsafe[line.substr(0, tab)] = line.substr(tab + 1);
      }
    }
  }
  return unsafe;
}

}  // namespace qvs
