// A session's off-line work: choosing a transcoder of batches and running it for one call.
#include <iterator>

#include "contract/HardwareInfo.h"
#include "offline/vod/VODTranscoderPluginHost.h"
#include "platform/Guard.h"
#include "session/StageSelection.h"
#include "session/TranscoderSession.h"

namespace qvs {
namespace {

struct VODRow {
  uint32_t implementation;  ///< that a host names; kAnyImplementation: whatever it names
  uint32_t HardwareAvailability::*word;
  uint32_t bits;
  PluginPath path;
  std::unique_ptr<IVODTranscoder> (*make)();
};

template <typename Host>
std::unique_ptr<IVODTranscoder> makeHost() {
  return std::make_unique<Host>();
}
constexpr auto* kMakeQuickSync = makeHost<VODTranscoderVideoQuickSyncHost>;
constexpr auto* kMakeNvenc = makeHost<VODTranscoderVideoNVENCHost>;
constexpr uint32_t kNvenc = kCudaNvencH264 | kCudaNvencOffline;

// Tried top to bottom: what a host names is a preference, and any hardware serves.
constexpr VODRow kRows[] = {
    {1, &HardwareAvailability::quickSyncAvailable, kQuickSyncAvailable, PluginPath::kQuickSync,
     kMakeQuickSync},
    {6, &HardwareAvailability::cudaAvailable, kNvenc, PluginPath::kNative, kMakeNvenc},
    {kAnyImplementation, &HardwareAvailability::quickSyncAvailable, kQuickSyncAvailable,
     PluginPath::kQuickSync, kMakeQuickSync},
    {kAnyImplementation, &HardwareAvailability::cudaAvailable, kNvenc, PluginPath::kNative, kMakeNvenc},
};

constexpr Failure kNoTranscoder{.reason = "There is no hardware for off-line transcoding",
                                .context = kLogContextOffline};

}  // namespace

std::unique_ptr<IVODTranscoder> TranscoderSession::createVODTranscoder(
    const VODTranscoderVideoSettings& settings) {
  for (const VODRow& row : kRows) {
    const bool named =
        row.implementation == kAnyImplementation || row.implementation == settings.videoImplementation;
    if (!named || (availability.*row.word & row.bits) != row.bits) continue;
    std::unique_ptr<IVODTranscoder> made = row.make();
    made->setNativePath(pluginPath(row.path));
    return made;
  }
  return nullptr;
}

std::unique_ptr<IVODTranscoder> TranscoderSession::readyVODTranscoder(
    const char* label, JNIAllocator* allocator, const VODTranscoderVideoSettings& settings) {
  std::unique_ptr<IVODTranscoder> transcoder = createVODTranscoder(settings);
  if (transcoder == nullptr) {
    fail(label, kNoTranscoder);
    return nullptr;
  }
  transcoder->setJNIAllocator(allocator);
  transcoder->setLogger(getLogger());
  transcoder->createDone();
  return transcoder;
}

uint32_t TranscoderSession::vodTranscoderTranscodeFrames(JNIAllocator* allocator,
                                                         VODTranscoderVideoSettings& settings,
                                                         const std::vector<VideoFrameEncoded>& inFrames,
                                                         std::vector<VideoFrameEncoded>& outFrames) {
  constexpr const char* kLabel = "TranscoderSession::vodTranscodeFrames";
  return guarded(kLabel, [&]() -> uint32_t {
    const auto transcoder = readyVODTranscoder(kLabel, allocator, settings);
    return transcoder != nullptr ? transcoder->transcode(settings, inFrames, outFrames) : kFailure;
  });
}

uint32_t TranscoderSession::vodTranscoderGetCodecConfig(JNIAllocator* allocator,
                                                        VODTranscoderVideoSettings& settings,
                                                        VideoFrameEncoded& codecConfigFrame) {
  constexpr const char* kLabel = "TranscoderSession::vodTranscoderGetCodecConfig";
  return guarded(kLabel, [&]() -> uint32_t {
    const auto transcoder = readyVODTranscoder(kLabel, allocator, settings);
    return transcoder != nullptr ? transcoder->getCodecConfig(settings, codecConfigFrame) : kFailure;
  });
}

}  // namespace qvs
