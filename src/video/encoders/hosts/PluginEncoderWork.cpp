// One picture's way through an encoder plug-in, and the check of what the plug-in says it gave.
#include "video/encoders/hosts/PluginEncoderWork.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>

#include "platform/Status.h"

namespace qvs {

// The contract has no coded frames with a failure.
template <typename Entry, typename... Arguments>
void PluginEncoderWork::callForFrames(Entry entry, Arguments... arguments) {
  buffers.fill(nullptr);
  sizes.fill(0);
  frameTypes.fill(0);
  timecodes.fill(0);
  timecodeOffsets.fill(0);
  uint32_t count = kMax;
  claimed = withoutBytes = tooLong = 0;
  answer.status = plugin.offers(entry) ? static_cast<int32_t>(kFailure) : 0;  // until it has come back
  if (!plugin.offers(entry)) return;
  answer = plugin.ask(entry, arguments..., buffers.data(), sizes.data(), frameTypes.data(), timecodes.data(),
                      timecodeOffsets.data(), &count);
  if (answer.status != 0) return;
  claimed = count;
  for (size_t i = 0; i < std::min<size_t>(count, kMax); ++i) takeFrame(i);
}

void PluginEncoderWork::encode() {
  switch (form) {
    case Form::kPlane:
      callForFrames(&pluginVideoEncoder::func_addFrame2, static_cast<void*>(picture.plane[0]),
                    static_cast<uint32_t>(picture.stride[0]), picture.width, picture.height, frameType,
                    timecode);
      break;
    case Form::kPlanes:
      encodeRecord(&pluginVideoEncoder::func_encodeFrame, &record);
      break;
    case Form::kFrame:
      encodeRecord(&pluginVideoEncoder::func_addFrame3, &frameRecord);
      break;
  }
}

template <typename Entry, typename Record>
void PluginEncoderWork::encodeRecord(Entry entry, Record* from) {
  records.fill({});
  PluginVideoEncoderOutput output{records.data(), 0, kMax};
  claimed = withoutBytes = tooLong = 0;
  answer.status = plugin.offers(entry) ? static_cast<int32_t>(kFailure) : 0;  // until it has come back
  if (!plugin.offers(entry)) return;
  answer = plugin.ask(entry, from, &output);
  if (answer.status != 0) return;
  claimed = output.frameCount;
  for (size_t i = 0; i < std::min<size_t>(claimed, kMax); ++i) {
    const VideoFrameEncodedData& coded = records[i];
    takeFrame(coded.buffer, coded.len, coded.timecode, coded.timecodeOffset, coded.frameType);
  }
}

void PluginEncoderWork::drain() {
  callForFrames(&pluginVideoEncoder::func_drain);
}

void PluginEncoderWork::takeFrame(size_t index) {
  takeFrame(buffers[index], sizes[index], timecodes[index], static_cast<int64_t>(timecodeOffsets[index]),
            frameTypes[index]);
}

void PluginEncoderWork::takeFrame(void* bytes, uint32_t size, uint64_t time, int64_t offset, uint32_t type) {
  if (bytes == nullptr) {
    ++withoutBytes;
  } else if (size > malloc_usable_size(bytes)) {
    // Whoever copied that many bytes would read past the end.
    ++tooLong;
    std::free(bytes);
  } else {
    frames.list().emplace_back(static_cast<uint8_t*>(bytes), size, time, offset, type, true);
  }
}

}  // namespace qvs
