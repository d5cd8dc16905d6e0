// The quota of control groups, from folders as the kernel lays them out.
#include "CpuShare.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace qvs::plugins {
namespace {

namespace fs = std::filesystem;

class CpuShare : public testing::Test {
 protected:
  CpuShare() { fs::remove_all(root); }
  ~CpuShare() override { fs::remove_all(root); }

  void write(const std::string& file, const char* text) const {
    fs::create_directories((root / file).parent_path());
    std::ofstream(root / file) << text;
  }
  double quota(const char* membership) const { return cgroupQuota(membership, root.string()); }

  const fs::path root = fs::temp_directory_path() / ("cpu-share-" + std::to_string(getpid()));
};

TEST_F(CpuShare, IsTheSmallestQuotaUpTheGroups) {
  write("a/cpu.max", "150000 100000\n");
  write("a/b/cpu.max", "max 100000\n");
  write("a/c/cpu.max", "50000 100000\n");
  EXPECT_EQ(quota("0::/a/b\n"), 1.5);
  EXPECT_EQ(quota("0::/a/c\n"), 0.5);
  EXPECT_EQ(quota("0::/\n"), 0);
  write("cpu,cpuacct/x/cpu.cfs_quota_us", "-1\n");
  write("cpu,cpuacct/x/cpu.cfs_period_us", "100000\n");
  EXPECT_EQ(quota("5:cpu,cpuacct:/x\n1:cpuset:/a\n"), 0);
  write("cpu,cpuacct/cpu.cfs_quota_us", "300000\n");
  write("cpu,cpuacct/cpu.cfs_period_us", "100000\n");
  EXPECT_EQ(quota("5:cpu,cpuacct:/not/seen/from/here\n"), 3);
  EXPECT_EQ(quota("rubbish\n0::a"), 0);
}

TEST_F(CpuShare, IsBoundedByAffinity) {
  cpu_set_t before, one;
  ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
  CPU_ZERO(&one);
  for (int cpu = 0; CPU_COUNT(&one) == 0; ++cpu)
    if (CPU_ISSET(cpu, &before)) CPU_SET(cpu, &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  EXPECT_EQ(cpuShare(), 1u);
  sched_setaffinity(0, sizeof before, &before);
}

}  // namespace
}  // namespace qvs::plugins
