// A batch of stored pictures: decoded, scaled and encoded on one road.
#include "Batch.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

namespace qvs::plugins {
namespace {

constexpr uint32_t kH264 = 7;
constexpr uint32_t kH265 = 12;
constexpr uint32_t kMostSide = 8192;
constexpr double kUsualRate = 25;

uint32_t even(double side) {
  return std::max(static_cast<uint32_t>(std::lround(side / 2)) * 2, 2u);
}

uint64_t presentation(const VideoFrameEncodedData& frame) {
  return frame.timecode + static_cast<uint64_t>(frame.timecodeOffset);
}

/// Where the parameter sets in front of a picture's units end; each unit has four bytes of length.
size_t setsLength(std::span<const uint8_t> units, bool hevc) {
  size_t at = 0;
  while (at + 5 <= units.size()) {
    size_t length = 0;
    for (size_t i = 0; i < 4; ++i) length = length << 8 | units[at + i];
    const uint32_t type = hevc ? units[at + 4] >> 1 & 0x3Fu : units[at + 4] & 0x1Fu;
    const bool isSet = hevc ? type >= 32 && type <= 34 : type == 7 || type == 8;
    if (!isSet || length > units.size() - at - 4) break;
    at += 4 + length;
  }
  return at;
}

/// Coded pictures of an encoder whose bytes nobody but this reads.
struct OwnFrames {
  void* frames[QVS_VIDEO_ENCODER_FRAMES_MAX] = {};
  uint32_t sizes[QVS_VIDEO_ENCODER_FRAMES_MAX] = {};
  uint32_t types[QVS_VIDEO_ENCODER_FRAMES_MAX] = {};
  uint64_t timecodes[QVS_VIDEO_ENCODER_FRAMES_MAX] = {};
  uint64_t offsets[QVS_VIDEO_ENCODER_FRAMES_MAX] = {};
  uint32_t count = QVS_VIDEO_ENCODER_FRAMES_MAX;

  void takeFrom(CodedFrames& output) {
    count = QVS_VIDEO_ENCODER_FRAMES_MAX;
    output.handOut({frames, sizes, types, timecodes, offsets, &count});
  }
};

}  // namespace

Batch::Batch(const VODTranscoderVideoSettings& wanted, const FrameAllocator& given)
    : settings(wanted), allocator(given) {}

int32_t Batch::check() const {
  const bool known = settings.videoCodec == kH264 || settings.videoCodec == kH265;
  const bool fits = settings.videoWidth <= kMostSide && settings.videoHeight <= kMostSide;
  return known && fits && road != nullptr ? QVS_PLUGIN_OK : QVS_PLUGIN_CREATE_ENCODER;
}

int32_t Batch::transcode(std::span<const VideoFrameEncodedData> in, VideoFrameEncodedData* out,
                         uint32_t& count) {
  const uint32_t room = std::exchange(count, 0);
  road = kBatchPlugin.make(settings.videoCodec == kH265);
  if (const int32_t status = check(); status != QVS_PLUGIN_OK) return status;
  road->encoder().output.setAllocator(allocator);
  if (const int32_t status = run(in); status != QVS_PLUGIN_OK) return status;
  count = room;
  return handOut(out, count);
}

int32_t Batch::run(std::span<const VideoFrameEncodedData> in) {
  if (const int32_t status = road->openDecoder(settings.videoGPUID); status != QVS_PLUGIN_OK) return status;
  for (const VideoFrameEncodedData& frame : in)
    sources[presentation(frame)] = {frame.vodPacketsIndex, frame.frameType == QVS_FRAME_KEY};
  const BatchRoad::Taker taker = [this](uint64_t timecode) { return take(timecode); };
  int32_t lastDamage = QVS_PLUGIN_OK;
  for (size_t i = 0; i <= in.size(); ++i) {
    const bool ended = i == in.size();
    if (!ended && (in[i].buffer == nullptr || in[i].len == 0)) continue;
    bool damaged = false;
    const std::span<const uint8_t> unit =
        ended ? std::span<const uint8_t>() : std::span(in[i].buffer, in[i].len);
    const int32_t status = road->decode(unit, ended ? 0 : presentation(in[i]), taker, damaged);
    if (status != QVS_PLUGIN_OK && !damaged) return status;
    if (status != QVS_PLUGIN_OK) lastDamage = status;
  }
  // A damaged picture is missing in what comes out; where none is whole the batch has failed.
  if (!encoding) return lastDamage != QVS_PLUGIN_OK ? lastDamage : QVS_PLUGIN_PARSE_HEADER;
  return road->encoder().drain();
}

int32_t Batch::take(uint64_t timecode) {
  if (!encoding) {
    if (const int32_t status = openEncoder(road->stream()); status != QVS_PLUGIN_OK) return status;
    if (const int32_t status = road->openScaler(settings.videoFitMode); status != QVS_PLUGIN_OK)
      return status;
  }
  const auto source = sources.find(timecode);
  const bool key = !encoding || (source != sources.end() && source->second.key);
  encoding = true;
  return road->pass(key, timecode);
}

// A side that is not given follows from the other; without either the picture keeps its size.
int32_t Batch::openEncoder(const StreamInfo& stream) {
  EncoderSession& encoder = road->encoder();
  CommonSettings& common = encoder.common;
  const double aspect = stream.displayHeight > 0 ? double{1} * stream.displayWidth / stream.displayHeight : 1;
  double width = settings.videoWidth, height = settings.videoHeight;
  if (width == 0 && height == 0) {
    width = stream.frameWidth;
    height = stream.frameHeight;
  }
  if (width == 0) width = height * aspect;
  if (height == 0) height = width / std::max(aspect, 1e-3);
  if (width > kMostSide || height > kMostSide) return QVS_PLUGIN_INIT_ENCODER;
  common.codec = settings.videoCodec;
  common.gpu = settings.videoGPUID;
  common.width = even(width);
  common.height = even(height);
  const bool given = settings.videoFrameRate > 0 && settings.videoFrameRate <= 1000;
  common.frameRate = given ? settings.videoFrameRate : stream.frameRate > 0 ? stream.frameRate : kUsualRate;
  common.bitRate = settings.videoBitrate;
  common.keyFrameFollow = true;
  if (settings.videoProfile != 0 && settings.videoCodec == kH264) {
    const int64_t profile = kBatchPlugin.profileOf(settings.videoProfile);
    if (const int32_t status = encoder.setKey(kBatchPlugin.profileKey, profile); status != QVS_PLUGIN_OK)
      return status;
  }
  return encoder.open();
}

int32_t Batch::handOut(VideoFrameEncodedData* out, uint32_t& count) {
  const uint32_t room = std::exchange(count, 0);
  CodedFrames& output = road->encoder().output;
  bool fits = true;
  for (OwnFrames coded; !output.empty();) {
    coded.takeFrom(output);
    for (uint32_t i = 0; i < coded.count; ++i) {
      // The contract gives more room than any encoder fills: beyond it something is wrong.
      if (count == room) {
        allocator.release(allocator.host, coded.frames[i]);
        fits = false;
        continue;
      }
      VideoFrameEncodedData& frame = out[count++] = {};
      frame.jbuffer = coded.frames[i];
      frame.len = coded.sizes[i];
      frame.timecode = coded.timecodes[i];
      frame.timecodeOffset = static_cast<int64_t>(coded.offsets[i]);
      frame.frameType = coded.types[i];
      const auto source = sources.find(presentation(frame));
      frame.vodPacketsIndex = source != sources.end() ? source->second.index : -1;
    }
  }
  if (fits) return QVS_PLUGIN_OK;
  while (count > 0) allocator.release(allocator.host, out[--count].jbuffer);
  return QVS_PLUGIN_ALLOCATE_BUFFER;
}

// What an encoder writes is known for certain once it has written: a black picture in front of nothing.
int32_t Batch::configure(VideoFrameEncodedData& frame) {
  const bool hevc = settings.videoCodec == kH265;
  road = kBatchPlugin.make(hevc);
  int32_t status = check();
  // The input's size isn't known without its pictures.
  if (status == QVS_PLUGIN_OK && (settings.videoWidth == 0 || settings.videoHeight == 0))
    status = QVS_PLUGIN_INIT_ENCODER;
  if (status == QVS_PLUGIN_OK) status = openEncoder({});
  if (status != QVS_PLUGIN_OK) return status;
  EncoderSession& encoder = road->encoder();
  const uint32_t width = encoder.common.width, height = encoder.common.height;
  std::vector<uint8_t> black(size_t{width} * height * 3 / 2, 128);
  std::fill_n(black.begin(), size_t{width} * height, uint8_t{16});
  Picture picture = pictureAt(black.data(), width, width, height);
  picture.key = true;
  status = encoder.encode(picture);
  if (status == QVS_PLUGIN_OK) status = encoder.drain();
  if (status != QVS_PLUGIN_OK) return status;
  OwnFrames coded;
  coded.takeFrom(encoder.output);
  CodedFrames sets;
  sets.setAllocator(allocator);
  const bool found = coded.count > 0;
  if (found) {
    const std::span<const uint8_t> units(static_cast<const uint8_t*>(coded.frames[0]), coded.sizes[0]);
    const std::span<const uint8_t> parts[] = {units.first(setsLength(units, hevc))};
    status = parts[0].empty()      ? QVS_PLUGIN_PARSE_HEADER
             : sets.add({}, parts) ? QVS_PLUGIN_OK
                                   : QVS_PLUGIN_ALLOCATE_BUFFER;
  }
  for (uint32_t i = 0; i < coded.count; ++i) std::free(coded.frames[i]);
  if (!found || status != QVS_PLUGIN_OK) return found ? status : QVS_PLUGIN_INIT_ENCODER;
  OwnFrames given;
  given.takeFrom(sets);
  frame = {};
  frame.jbuffer = given.frames[0];
  frame.len = given.sizes[0];
  frame.frameType = QVS_FRAME_KEY;
  frame.codecConfig = 1;
  frame.vodPacketsIndex = -1;
  return QVS_PLUGIN_OK;
}

}  // namespace qvs::plugins
