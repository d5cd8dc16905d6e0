#pragma once

#include <qvs/video_decoder.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plugin/PluginSession.h"
#include "plugins/quicksync/FakeRuntime.h"
#include "support/GuardedBytes.h"

namespace qvs::test {

/// A picture that came out of a decoder: planes Y, V, U of its frame size.
struct RunPicture {
  uint32_t width = 0, height = 0, displayWidth = 0, displayHeight = 0, frameType = 0;
  uint64_t timecode = 0, flags = 0;
  std::vector<uint8_t> bytes;
};

/// A decoder plug-in driven as its host drives it.
class DecoderRun {
 public:
  using Table = pluginVideoDecoder;

  explicit DecoderRun(const std::string& library) {
    loaded = plugin.load(QVS_PLUGIN_DIR "/" + library, videoDecoderResolve, "zarvoVideoDecoder_");
    plugin.create(nullptr, nativePluginAllocator());
  }
  int32_t open() { return plugin.call(&Table::func_initialize); }
  int32_t key(uint32_t number, int64_t value) {
    return plugin.call(&Table::func_setParameterValueLong, number, value);
  }
  std::string problem() {
    char text[256] = "";
    plugin.call(&Table::func_getProblem, text, uint32_t{sizeof text});
    return text;
  }

  uint32_t configure(std::vector<uint8_t> record) {
    return plugin.call(&Table::func_decodeCodecConfig, record.data(), 0u,
                       static_cast<uint32_t>(record.size()));
  }
  /// One unit, borrowed until the next as the contract has it, and all that comes of it.
  uint32_t add(const std::vector<uint8_t>& bytes, uint64_t timecode) {
    unit = bytes;
    const uint32_t status =
        plugin.call(&Table::func_addFrame, unit.data(), 0u, static_cast<uint32_t>(unit.size()), timecode, 0u);
    return status != 0 ? status : run(0, QVS_DECODE_INPUT_DONE);
  }
  uint32_t flush() { return run(1, QVS_DECODE_FLUSHED); }

  PluginSession<Table> plugin;
  std::vector<RunPicture> pictures;
  uint32_t seen = 0;  ///< all bits that steps have set
  bool loaded = false;

 private:
  uint32_t run(uint8_t flushing, uint32_t end) {
    for (int steps = 0; steps < 100; ++steps) {
      uint32_t flags = 0;
      const uint32_t status = plugin.call(&Table::func_decode2, &flags, flushing);
      seen |= flags;
      if ((flags & QVS_DECODE_FRAME_AVAILABLE) != 0) fetch();
      if (status != 0 || (flags & (end | QVS_DECODE_ABORTED)) != 0) return status;
    }
    return 99;
  }
  void fetch() {
    RunPicture picture;
    plugin.call(&Table::func_getDecodedFrameSize, &picture.width, &picture.height, &picture.displayWidth,
                &picture.displayHeight);
    // Rows wider than the picture; not a byte beyond what they need.
    const uint32_t stride = picture.width + 32;
    GuardedBytes block(size_t{stride} * picture.height * 3 / 2 - 16);
    uint32_t width = 0, height = 0;
    if (plugin.call(&Table::func_getDecodedFrame, static_cast<void*>(block.data()), stride, &width, &height,
                    &picture.frameType, &picture.flags, &picture.timecode) != 0) {
      return;
    }
    const uint8_t* row = block.data();
    for (int plane = 0; plane < 3; ++plane) {
      const uint32_t step = plane == 0 ? 1 : 2;
      for (uint32_t y = 0; y < picture.height / step; ++y, row += stride / step) {
        picture.bytes.insert(picture.bytes.end(), row, row + picture.width / step);
      }
    }
    if (width == picture.displayWidth && height == picture.displayHeight)
      pictures.push_back(std::move(picture));
  }
  std::vector<uint8_t> unit;
};

}  // namespace qvs::test
