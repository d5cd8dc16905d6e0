// The process's share of the machine: affinity and control groups of both versions.
#include "CpuShare.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <thread>

namespace qvs::plugins {
namespace {

std::string textOf(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// Processors by a quota and a period; 0 for "max", -1 and what isn't there.
double processors(const std::string& quota, const std::string& period) {
  const double allowed = std::strtod(quota.c_str(), nullptr);
  const double of = std::strtod(period.c_str(), nullptr);
  return allowed > 0 && of > 0 ? allowed / of : 0;
}

double quotaOfGroup(const std::string& folder, bool unified) {
  if (!unified)
    return processors(textOf(folder + "/cpu.cfs_quota_us"), textOf(folder + "/cpu.cfs_period_us"));
  std::istringstream line(textOf(folder + "/cpu.max"));
  std::string quota, period;
  line >> quota >> period;
  return processors(quota, period);
}

/// Whether a line's list of controllers, "cpu,cpuacct", holds the one for processors.
bool governsCpu(const std::string& controllers) {
  return ("," + controllers + ",").find(",cpu,") != std::string::npos;
}

uint32_t allowedByAffinity() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) return static_cast<uint32_t>(CPU_COUNT(&set));
  return std::thread::hardware_concurrency();  // more processors than a set has room for
}

}  // namespace

double cgroupQuota(const std::string& membership, const std::string& root) {
  double least = 0;
  std::istringstream lines(membership);
  // "ID:CONTROLLERS:PATH", without controllers in the second version.
  for (std::string line; std::getline(lines, line);) {
    const size_t first = line.find(':');
    const size_t second = line.find(':', first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    const std::string controllers = line.substr(first + 1, second - first - 1);
    const bool unified = controllers.empty();
    if (!unified && !governsCpu(controllers)) continue;
    const std::string mount = unified ? root : root + "/" + controllers;
    // Seen from inside a container the path may not be there; the groups above it then are what holds.
    std::string path = line.substr(second + 1);
    while (true) {
      const double quota = quotaOfGroup(mount + path, unified);
      if (quota > 0) least = least > 0 ? std::min(least, quota) : quota;
      if (path.empty()) break;
      path.erase(path.rfind('/') != std::string::npos ? path.rfind('/') : 0);
    }
  }
  return least;
}

uint32_t cpuShare() {
  const uint32_t allowed = std::max(1u, allowedByAffinity());
  const double quota = cgroupQuota(textOf("/proc/self/cgroup"), "/sys/fs/cgroup");
  return quota > 0 ? std::clamp(static_cast<uint32_t>(std::ceil(std::min(quota, 1e6))), 1u, allowed)
                   : allowed;
}

}  // namespace qvs::plugins
