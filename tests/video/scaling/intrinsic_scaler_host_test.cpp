#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/Status.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {
namespace {

namespace fs = std::filesystem;

// A directory that holds one of the test plug-ins under the name that the host looks for.
class PluginDirectory {
 public:
  explicit PluginDirectory(int defect) {
    std::string name = (fs::temp_directory_path() / "qvs-scaler-XXXXXX").string();
    path = mkdtemp(name.data());
    fs::create_symlink(QVS_BROKEN_DIR "/broken-scaler-" + std::to_string(defect) + ".so",
                       path / "libqvs-videoframe-intrinsic-scaler.so");
  }
  ~PluginDirectory() { fs::remove_all(path); }

  // The same directory by a name of `length` bytes.
  std::string padded(size_t length) const {
    std::string name = path.string();
    while (name.size() + 1 < length) name += "/.";
    return name.size() < length ? name.insert(0, "/") : name;
  }

  fs::path path;
};

bool nothingWorks(VideoFrameIntrinsicScalerSingleton& scaler) {
  void* session = &scaler;
  VideoFrameIntrinsicScalerFrame frame{};
  return !scaler.isAvailable() && scaler.create(&session) == kFailure && session == nullptr &&
         scaler.destroy(nullptr) == kFailure && scaler.scaleByHalf(nullptr, &frame, &frame) == kFailure &&
         scaler.overlayFrame(nullptr, 1, 0, 0, &frame, &frame) == kFailure;
}

// One test, since the process has one scaler and what it has loaded stays.
TEST(IntrinsicScalerHost, TakesOnlyAWorkingPluginAndKeepsIt) {
  constexpr int kNotAvailable = 1, kLacksIsAvailable = 2, kLacksOverlay = 3;
  auto& scaler = *VideoFrameIntrinsicScalerSingleton::getInstance();
  EXPECT_EQ(scaler.initialize(), kSuccess) << "without a path";
  EXPECT_TRUE(nothingWorks(scaler));

  scaler.setNativePath(0, "/nowhere");
  EXPECT_EQ(scaler.initialize(), kSuccess) << "without a library";
  EXPECT_TRUE(nothingWorks(scaler));
  for (const int defect : {kNotAvailable, kLacksIsAvailable}) {
    const PluginDirectory refused(defect);
    scaler.setNativePath(0, refused.path.c_str());
    EXPECT_EQ(scaler.initialize(), kSuccess);
    EXPECT_TRUE(nothingWorks(scaler)) << "defect " << defect;
  }

  const PluginDirectory directory(kLacksOverlay);
  scaler.setNativePath(1, directory.path.c_str());
  scaler.setNativePath(0, nullptr);
  scaler.setNativePath(0, directory.padded(512).c_str());
  scaler.initialize();
  EXPECT_FALSE(scaler.isAvailable()) << "none of these paths counts";
  ASSERT_EQ(directory.padded(511).size(), 511u);
  scaler.setNativePath(0, directory.padded(511).c_str());
  EXPECT_EQ(scaler.initialize(), kSuccess);
  ASSERT_TRUE(scaler.isAvailable());

  // What the plug-in lacks fails, the rest works.
  void* session = nullptr;
  ASSERT_EQ(scaler.create(&session), kSuccess);
  EXPECT_EQ(scaler.create(nullptr), kFailure);
  uint8_t source[24], target[6] = {};
  std::fill_n(source, 24, 90);
  VideoFrameIntrinsicScalerFrame whole{VIDEO_SCALER_FOURCC('Y', 'V', '1', '2'), source, 4, 4, 4};
  VideoFrameIntrinsicScalerFrame half{VIDEO_SCALER_FOURCC('Y', 'V', '1', '2'), target, 2, 2, 2};
  EXPECT_EQ(scaler.scaleByHalf(session, &whole, &half), kSuccess);
  EXPECT_THAT(target, testing::Each(90));
  EXPECT_EQ(scaler.overlayFrame(session, 1, 0, 0, &whole, &half), kFailure);

  scaler.setNativePath(0, "/nowhere");
  EXPECT_EQ(scaler.initialize(), kSuccess);
  EXPECT_TRUE(scaler.isAvailable()) << "sessions live, so the library stays";
  EXPECT_EQ(scaler.destroy(session), kSuccess);
}

}  // namespace
}  // namespace qvs
