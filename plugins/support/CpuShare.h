#pragma once

#include <cstdint>
#include <string>

namespace qvs::plugins {

/// How many processors this process may use: what its affinity allows, bounded by the quota of its control groups. At
/// least 1.
uint32_t cpuShare();

/// The quota alone, in processors, over a group and all groups above it; 0 where none is set. `membership` is the text
/// of /proc/self/cgroup, `root` the folder under which the groups are mounted.
double cgroupQuota(const std::string& membership, const std::string& root);

}  // namespace qvs::plugins
