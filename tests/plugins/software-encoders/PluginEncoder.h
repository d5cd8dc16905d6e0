#pragma once

#include <qvs/video_encoder.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "plugin/PluginSession.h"
#include "support/EncodedUnit.h"
#include "support/TestPicture.h"

namespace qvs::test {

/// A session of an encoder plug-in that ships, by its entry points alone, and a picture for it.
class PluginEncoder {
 public:
  using Table = pluginVideoEncoder;

  PluginEncoder(const std::string& library, uint32_t width, uint32_t height, uint32_t bitRate = 2'000'000) {
    loaded = plugin.load(QVS_PLUGIN_DIR "/" + library, videoEncoderResolve, "zarvoVideoEncoder_") &&
             plugin.create(this, nativePluginAllocator()) == 0;
    picture.allocBuffer(width, height, kFourCCYV12);
    plugin.call(&Table::func_setFrameSize, width, height);
    plugin.call(&Table::func_setFrameRate, 25.0);
    plugin.call(&Table::func_setBitrate, bitRate);
    plugin.call(&Table::func_setKeyFrameFollow, 1u);
  }

  int32_t set(uint32_t key, int64_t value) {
    return plugin.call(&Table::func_setParameterValueLong, key, value);
  }
  int32_t open() { return loaded ? plugin.call(&Table::func_initialize) : -1; }
  std::string problem() {
    char text[256] = {};
    plugin.call(&Table::func_getProblem, text, uint32_t{sizeof text});
    return text;
  }

  /// Encodes test picture `number`; the units that the call gave are added to `units`.
  int32_t add(uint32_t number, uint64_t timecode, bool key = false) {
    paintTestPicture(picture, number);
    return encode(timecode, key);
  }
  /// Encodes `picture` as it is.
  int32_t encode(uint64_t timecode, bool key = false) {
    return take([&](auto... out) {
      return plugin.call(&Table::func_addFrame2, static_cast<void*>(picture.getPlane(0)),
                         static_cast<uint32_t>(picture.getFrame().stride[0]), picture.getWidth(),
                         picture.getHeight(), key ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED, timecode, out...);
    });
  }
  int32_t drain() {
    size_t before = 0;
    int32_t status = 0;
    do {
      before = units.size();
      status = take([&](auto... out) { return plugin.call(&Table::func_drain, out...); });
    } while (status == 0 && units.size() != before);
    return status;
  }

  PluginSession<Table> plugin;
  VideoFrameBuffer picture;
  std::vector<EncodedUnit> units;

 private:
  template <typename Call>
  int32_t take(Call call) {
    void* frames[QVS_VIDEO_ENCODER_FRAMES_MAX];
    uint32_t sizes[QVS_VIDEO_ENCODER_FRAMES_MAX], types[QVS_VIDEO_ENCODER_FRAMES_MAX];
    uint64_t times[QVS_VIDEO_ENCODER_FRAMES_MAX], offsets[QVS_VIDEO_ENCODER_FRAMES_MAX];
    uint32_t count = QVS_VIDEO_ENCODER_FRAMES_MAX;
    const int32_t status = call(&frames[0], &sizes[0], &types[0], &times[0], &offsets[0], &count);
    for (uint32_t i = 0; i < count; ++i) {
      const auto* bytes = static_cast<uint8_t*>(frames[i]);
      units.push_back({{bytes, bytes + sizes[i]}, times[i], static_cast<int64_t>(offsets[i]), types[i]});
      std::free(frames[i]);
    }
    return status;
  }

  bool loaded = false;
};

}  // namespace qvs::test
