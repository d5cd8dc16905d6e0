#pragma once

#include <qvs/video_encoder.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "plugin/PluginSession.h"
#include "plugins/quicksync/FakeRuntime.h"
#include "support/EncodedUnit.h"
#include "support/TestPicture.h"

namespace qvs::test {

/// An encoder plug-in driven as its host drives it.
class EncoderRun {
 public:
  EncoderRun(const std::string& library, uint32_t pictureWidth, uint32_t pictureHeight)
      : width(pictureWidth), height(pictureHeight) {
    loaded = plugin.load(library, videoEncoderResolve, "zarvoVideoEncoder_");
    plugin.create(nullptr, nativePluginAllocator());
    plugin.call(&Table::func_setFrameSize, width, height);
    plugin.call(&Table::func_setFrameRate, 25.0);
    plugin.call(&Table::func_setBitrate, 2000000u);
    plugin.call(&Table::func_setKeyFrameFollow, 1u);
  }

  int32_t key(uint32_t number, int64_t value) {
    return plugin.call(&Table::func_setParameterValueLong, number, value);
  }
  int32_t open() { return plugin.call(&Table::func_initialize); }
  int32_t rate(uint32_t bits) { return plugin.call(&Table::func_updateBitrate, bits); }
  std::string problem() { return problemOf(plugin, &Table::func_getProblem); }

  /// Encodes picture `time` of the test picture.
  int32_t add(uint32_t time, uint64_t timecode, bool key = false) {
    const std::vector<uint8_t> picture = yv12(time);
    Room room;
    const int32_t status =
        plugin.call(&Table::func_addFrame2, const_cast<uint8_t*>(picture.data()), width, width, height,
                    key ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED, timecode, room.frames, room.sizes, room.types,
                    room.timecodes, room.offsets, &room.count);
    take(room);
    return status;
  }
  int32_t drain() {
    int32_t status = 0;
    for (size_t before = units.size() + 1; status == 0 && units.size() != before;) {
      before = units.size();
      Room room;
      status = plugin.call(&Table::func_drain, room.frames, room.sizes, room.types, room.timecodes,
                           room.offsets, &room.count);
      take(room);
    }
    return status;
  }
  /// Pictures 0 to count at 25 a second, keys where asked, and what is held back. The first status that isn't 0.
  int32_t run(uint32_t count, uint64_t first = 0, uint32_t keyEvery = 1000) {
    for (uint32_t i = 0; i < count; ++i) {
      if (const int32_t status = add(i, first + i * 40, i % keyEvery == 0); status != 0) return status;
    }
    return drain();
  }

  /// Planes Y, V, U of the test picture, chroma rounded up.
  std::vector<uint8_t> yv12(uint32_t time) const {
    std::vector<uint8_t> bytes;
    std::minstd_rand random(time);
    for (const char plane : {'Y', 'V', 'U'}) {
      const uint32_t step = plane == 'Y' ? 1 : 2;
      for (uint32_t y = 0; y < height; y += step) {
        for (uint32_t x = 0; x < width; x += step) {
          const TestPixel pixel = testPixel(x, y, width, height, time);
          bytes.push_back(plane == 'Y' ? pixel.y : plane == 'U' ? pixel.u : pixel.v);
          if (noisy) bytes.back() ^= static_cast<uint8_t>(random() >> 10 & 63);
        }
      }
    }
    return bytes;
  }

  using Table = pluginVideoEncoder;
  PluginSession<Table> plugin;
  std::vector<EncodedUnit> units;
  bool loaded = false;
  bool noisy = false;  ///< pictures that take any bit rate
  const uint32_t width, height;

 private:
  struct Room {
    void* frames[QVS_VIDEO_ENCODER_FRAMES_MAX];
    uint32_t sizes[QVS_VIDEO_ENCODER_FRAMES_MAX], types[QVS_VIDEO_ENCODER_FRAMES_MAX];
    uint64_t timecodes[QVS_VIDEO_ENCODER_FRAMES_MAX], offsets[QVS_VIDEO_ENCODER_FRAMES_MAX];
    uint32_t count = QVS_VIDEO_ENCODER_FRAMES_MAX;
  };
  void take(const Room& room) {
    for (uint32_t i = 0; i < room.count; ++i) {
      const auto* bytes = static_cast<const uint8_t*>(room.frames[i]);
      units.push_back({{bytes, bytes + room.sizes[i]},
                       room.timecodes[i],
                       static_cast<int64_t>(room.offsets[i]),
                       room.types[i]});
      std::free(room.frames[i]);
    }
  }
};

}  // namespace qvs::test
