#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <sstream>
#include <string>

#include "hardware/HardwareInspector.h"
#include "video/scaling/device/cuda/NVidiaCUDAUtils.h"

namespace qvs {
namespace {

using testing::HasSubstr;

/// An inventory whose finds the test writes.
class FakeInspector : public HardwareInspector {
 public:
  FakeInspector() = default;
  using HardwareInspector::infoCUDA;
  using HardwareInspector::infoQuickSync;
  using HardwareInspector::infoVAAPI;
  using HardwareInspector::infoX264;
  using HardwareInspector::infoXilinxU30;
  using HardwareInspector::intrinsicScaler;

  void addGPU(int32_t major, int32_t minor) {
    HardwareInfoGPU& gpu = infoCUDA.gpus[static_cast<size_t>(infoCUDA.countGPU++)];
    gpu.versionMajor = major;
    gpu.versionMinor = minor;
    std::strcpy(gpu.name.data(), "Card");
  }

  std::string json() const {
    std::string text = "old";
    getJSON(text);
    return text;
  }
};

TEST(HardwareInspector, ReportsABareMachine) {
  FakeInspector inspector;
  inspector.inspect();
  inspector.intrinsicScaler = 0;
  inspector.infoCUDA = {};  // whatever this machine has
  EXPECT_EQ(inspector.json(),
            R"({"infoCUDA":{"available":false},"infoQuickSync":{"available":false},)"
            R"("infoVAAPI":{"available":false},"infoXilinxU30":{"available":false},)"
            R"("infoX264":{"available":false},"infoX265":{"available":false},)"
            R"("infoAdvantechVega":{"available":false},"infoIntrinsicScaler":{"available":false}})");
}

TEST(HardwareInspector, ReportsWhatIsThere) {
  FakeInspector inspector;
  inspector.addGPU(5, 2);
  inspector.addGPU(3, 0);
  inspector.infoCUDA.availableFlags = 0x20003;
  inspector.infoCUDA.driverVersionMajor = 525;
  inspector.infoCUDA.driverVersionMinor = 60;
  inspector.infoQuickSync = {2, 9, 0x109};
  inspector.infoX264 = {164, 0, 1};
  inspector.infoXilinxU30.isXilinxU30Available = 1;
  inspector.infoXilinxU30.deviceCount = 2;
  inspector.intrinsicScaler = 1;
  const std::string json = inspector.json();
  EXPECT_THAT(json,
              HasSubstr(R"({"infoCUDA":{"availabe":true,"availableFlags":131075,"countGPU":2,)"
                        R"("driverVersion":525.60,"cudaVersion":0,"isCUDAOldH264WindowsAvailable":false,)"
                        R"("gpuInfo":[{"name":"Card","versionMajor":5,"versionMinor":2,)"));
  EXPECT_THAT(json, HasSubstr(R"("isCUDANVCUVIDAvailable":true,"isCUDAH264EncodeAvailable":true,)"
                              R"("isCUDAH265EncodeAvailable":true,"getCUDANVENCVersion":5},{"name":)"));
  EXPECT_THAT(json,
              HasSubstr(R"("isCUDAH265EncodeAvailable":false,"getCUDANVENCVersion":5}]},"infoQuickSync":)"
                        R"({"availabe":true,"availableFlags":265,"versionMajor":2,"versionMinor":9,)"
                        R"("isQuickSyncH264EncodeAvailable":true,"isQuickSyncH265EncodeAvailable":false,)"));
  EXPECT_THAT(json, HasSubstr(R"("isQuickSyncH265DecodeAvailable":true,)"));
  EXPECT_THAT(json,
              HasSubstr(R"("infoXilinxU30":{"available":true,"availableFlags":0,"deviceCount":2,)"
                        R"("cuExists":false,"pluginsLoaded":false},"infoX264":)"
                        R"({"availabe":true,"availableFlags":1,"versionMajor":164,"versionMinor":0},)"));
  EXPECT_THAT(json, testing::EndsWith(R"("infoIntrinsicScaler":{"available":true}})"));
}

/// A folder of plug-ins by these names; all are the tests' own.
std::string folderOf(std::initializer_list<const char*> names) {
  const auto folder = std::filesystem::path(testing::TempDir()) / "inspected-plugins";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  for (const std::string name : names) {
    const bool decoder = name.starts_with("vdecoder");
    std::filesystem::create_symlink(decoder ? QVS_TEST_DECODER : QVS_TEST_ENCODER,
                                    folder / ("libqvs-" + name + ".so"));
  }
  return folder;
}

TEST(HardwareInspector, AsksEachPluginOfABackEnd) {
  FakeInspector inspector;
  const auto inspect = [&](const std::string& folder) {
    for (long path : {0, 1, 2}) inspector.setNativePath(path, folder.c_str());
    inspector.inspect();
  };
  inspect(folderOf({"vencoder-h264-x264", "vencoder-h265-vaapi", "vencoder-vp9-vaapi",
                    "vdecoder-mp2-quicksync-x11", "vencoder-h265-quicksync-x11"}));
  EXPECT_EQ(inspector.infoX264.availableFlags, 1u);
  EXPECT_EQ(inspector.infoX264.versionMajor, 3u);
  EXPECT_FALSE(inspector.isX265Available());
  EXPECT_EQ(inspector.infoVAAPI.availableFlags, 1u | kVaapiEncodeH265 | kVaapiEncodeVP9);
  EXPECT_EQ(inspector.infoQuickSync.availableFlags,
            1u | kHardwareAccessX11 | kQuickSyncEncodeH265 | kQuickSyncDecodeMP2);
  EXPECT_EQ(inspector.infoQuickSync.versionMinor, 7u) << "the encoder's, which is asked first";
  EXPECT_TRUE(inspector.isQuickSyncMP2DecodeAvailable());
  inspect(folderOf({"vdecoder-h264-quicksync-drm", "vencoder-h265-quicksync-x11"}));
  EXPECT_EQ(inspector.infoQuickSync.availableFlags, 1u | kHardwareAccessDrm | kQuickSyncDecodeH264)
      << "one way to the hardware for all";
  EXPECT_EQ(inspector.infoVAAPI.availableFlags, 0u) << "a new look forgets the one before";
}

/// The emulated one: no card has been asked.
TEST(HardwareInspector, FindsTheGPUOfTheDriver) {
  FakeInspector inspector;
  inspector.setNativePath(0, folderOf({"vencoder-h26x-nvenc12"}).c_str());
  inspector.inspect();
  ASSERT_TRUE(inspector.isCUDAAvailable());
  EXPECT_EQ(inspector.infoCUDA.availableFlags, (1u << kCudaGpuCountShift) | kCudaUsable | kCudaNvencH264 |
                                                   kCudaNvencH265 | kCudaNvcuvidOld | kCudaNvcuvid |
                                                   kCudaNvencOffline | kCudaRunsKernels | kCudaNvencLoaded);
  const HardwareInfoGPU& gpu = inspector.infoCUDA.gpus[0];
  EXPECT_GT(std::strlen(gpu.name.data()), 0u);
  EXPECT_GT(gpu.totalMemory, 0u);
  EXPECT_GT(gpu.multiprocessorCount, 0);
  EXPECT_GT(gpu.clockRate, 0);
}

TEST(NVidiaCUDAUtils, ReadsTheDriversVersionAndWhatItAllows) {
  const struct {
    const char* text;
    bool isRead;
    int32_t major, minor;
  } rows[] = {{"NVRM version: NVIDIA UNIX x86_64 Kernel Module  525.60.13  Wed Nov 30\nGCC version: 12", true,
               525, 60},
              {"NVRM version: NVIDIA UNIX Open Kernel Module for x86_64  570.86.10  Release", true, 570, 86},
              {"NVRM version: Kernel Module of another kind", false, 0, 0},
              {"", false, 0, 0}};
  for (const auto& row : rows) {
    int32_t major = 0, minor = 0;
    std::istringstream text(row.text);
    EXPECT_EQ(NVidiaCUDAUtils::parseDriverVersion(text, &major, &minor), row.isRead) << row.text;
    EXPECT_EQ(std::pair(major, minor), std::pair(row.major, row.minor)) << row.text;
  }
  constexpr uint32_t kAll = kCudaUsable | kCudaNvencH264 | kCudaNvcuvidOld | kCudaNvcuvid | kCudaRunsKernels;
  EXPECT_EQ(NVidiaCUDAUtils::flagsOf(0x75, 525, 59), uint32_t{kCudaNvencOffline});
  EXPECT_EQ(NVidiaCUDAUtils::flagsOf(0x75, 525, 60), kAll | kCudaNvencH265 | kCudaNvencOffline);
  EXPECT_EQ(NVidiaCUDAUtils::flagsOf(0x51, 600, 0), kAll | kCudaNvencOffline);
  EXPECT_EQ(NVidiaCUDAUtils::flagsOf(0x51, 345, 99), 0u);
  EXPECT_EQ(NVidiaCUDAUtils::flagsOf(0x2F, 600, 0), 0u);
}

TEST(HardwareInspector, TellsWhatAGPUCanDoByItsCapability) {
  FakeInspector inspector;
  inspector.addGPU(3, 0);
  inspector.addGPU(5, 1);
  inspector.addGPU(5, 2);
  inspector.addGPU(2, 9);
  inspector.infoCUDA.driverVersionMajor = 345;
  inspector.infoCUDA.driverVersionMinor = 99;
  EXPECT_EQ(inspector.getCUDANVENCVersion(0), 4);
  EXPECT_EQ(inspector.getCUDANVENCVersion(2), 5);  // by itself, whatever the driver
  EXPECT_EQ(inspector.getCUDANVENCVersion(3), 0);
  inspector.infoCUDA.driverVersionMajor = 346;
  inspector.infoCUDA.driverVersionMinor = 0;
  EXPECT_EQ(inspector.getCUDANVENCVersion(0), 5);
  EXPECT_FALSE(inspector.isCUDAH265EncodeAvailable(1));
  EXPECT_TRUE(inspector.isCUDAH265EncodeAvailable(2));
  EXPECT_FALSE(inspector.isCUDANVCUVIDAvailable(3));
  EXPECT_EQ(inspector.getCUDANVENCVersion(-5), 5);  // a negative number means the first
  EXPECT_EQ(inspector.getCUDANVENCVersion(4), 0);
  EXPECT_FALSE(inspector.isCUDAH264EncodeAvailable(4));
}

TEST(HardwareInspector, KeepsPathsThatFitAndFillsEmptyOnes) {
  FakeInspector inspector;
  inspector.setNativePath(0, "/native");
  inspector.setNativePath(1, "/quicksync");
  inspector.setNativePath(0, std::string(512, 'x').c_str());
  inspector.setNativePath(0, nullptr);
  inspector.setNativePath(3, "/other");
  inspector.setNativePath(-1, "/other");
  inspector.inspect();
  EXPECT_STREQ(inspector.getPath(HardwareInspector::kNativePath), "/native");
  EXPECT_STREQ(inspector.getPath(HardwareInspector::kQuickSyncPath), "/quicksync");
  EXPECT_STREQ(inspector.getPath(HardwareInspector::kVaapiPath), "/native");
  inspector.setNativePath(0, std::string(511, 'y').c_str());
  EXPECT_EQ(std::strlen(inspector.getPath(HardwareInspector::kNativePath)), 511u);
}

}  // namespace
}  // namespace qvs
