// libx264 behind the encoder's C interface: frames in, access units out, changes on the way.
#include "avc/AvcEncoder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <span>

#include "avc/AvcSettings.h"

namespace qvs::mc {

namespace {

constexpr double kTimeUnitsPerSecond = 1e7;  // 100 ns

/// In place of lengths; libx264 itself writes three-byte codes within a unit.
void writeStartCodes(const x264_nal_t* units, int count) {
  static constexpr uint8_t kStartCode[] = {0, 0, 0, 1};
  for (int i = 0; i < count; ++i) std::memcpy(units[i].p_payload, kStartCode, sizeof kStartCode);
}

/// From 100 ns to 27 MHz.
int64_t clockTicks(int64_t time) {
  return time / 10 * 27 + time % 10 * 27 / 10;
}

/// Hosts may send any number. Up to this one, seven thousand years, differences and clock ticks fit.
int64_t boundedTime(int64_t time) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max() / 4;
  return std::clamp(time, -kMost, kMost);
}

}  // namespace

AvcEncoder::AvcEncoder(const mc_callbacks_t& callbacks, const h264_v_settings& settings)
    : callbacks(callbacks), settings(settings), follower(1) {
  if (!AvcSettings::toX264(settings, parameters)) return;
  parameters.pf_log = log;
  parameters.p_log_private = this;
  parameters.i_log_level = X264_LOG_WARNING;
  duration = kTimeUnitsPerSecond * parameters.i_fps_den / parameters.i_fps_num;
  follower = AvcRateFollower(duration);
  encoder.reset(x264_encoder_open(&parameters));
  if (isOpen() && parameters.b_repeat_headers == 0) learnHeaders();
}

void AvcEncoder::learnHeaders() {
  x264_nal_t* units = nullptr;
  int count = 0;
  if (x264_encoder_headers(encoder.get(), &units, &count) <= 0) return;
  writeStartCodes(units, count);
  for (int i = 0; i < count; ++i) {
    const std::span<const uint8_t> bytes(units[i].p_payload, static_cast<size_t>(units[i].i_payload));
    headers.insert(headers.end(), bytes.begin(), bytes.end());
    if (units[i].i_type != NAL_SEI) parameterSets.insert(parameterSets.end(), bytes.begin(), bytes.end());
  }
}

void AvcEncoder::log(void* self, int level, const char* format, va_list arguments) {
  const auto& owner = *static_cast<const AvcEncoder*>(self);
  // While it runs libx264 may have a warning for every picture.
  if (level > (owner.isOpen() ? X264_LOG_ERROR : X264_LOG_WARNING)) return;
  const auto print = level == X264_LOG_ERROR ? owner.callbacks.err_printf : owner.callbacks.wrn_printf;
  if (print == nullptr) return;
  char line[512];
  std::vsnprintf(line, sizeof line, format, arguments);
  line[std::strcspn(line, "\n")] = 0;
  print("H.264 encoder: %s", line);
}

bool AvcEncoder::attach(bufstream_tt* target) {
  if (target == nullptr || target->copybytes == nullptr || target->auxinfo == nullptr) return false;
  stream = target;
  return true;
}

bool AvcEncoder::fits(const x264_picture_t& picture, uint32_t width, uint32_t height) const {
  const x264_image_t& image = picture.img;
  const auto wide = static_cast<uint32_t>(parameters.i_width);
  if ((width & ~1u) != wide || (height & ~1u) != static_cast<uint32_t>(parameters.i_height)) return false;
  const bool paired = image.i_plane == 2;
  for (int plane = 0; plane < image.i_plane; ++plane) {
    const uint32_t row = plane == 0 || paired ? wide : wide / 2;
    if (image.plane[plane] == nullptr || image.i_stride[plane] < static_cast<int>(row)) return false;
  }
  return true;
}

AvcOutcome AvcEncoder::put(x264_picture_t& picture, const mc_sample_info_struct_t* info, bool forceIdr) {
  if (stream == nullptr) return AvcOutcome::kRefused;
  const int64_t time = boundedTime(
      info != nullptr ? info->rtStart : static_cast<int64_t>(static_cast<double>(number) * duration));
  const bool paceChanged = settings.fixed_frame_rate == 0 && follower.add(time);
  if (buffer.grow() || paceChanged) reconfigure();
  times.add(number, time);
  picture.i_pts = number++;
  picture.i_type = forceIdr || unitLost ? X264_TYPE_IDR : X264_TYPE_AUTO;
  unitLost = false;
  return encode(&picture);
}

bool AvcEncoder::update(const h264_v_settings& changed) {
  const bool wasSteerable = AvcSettings::isSteerable(settings);
  const bool raised = changed.bit_rate > settings.bit_rate;
  settings.bit_rate = changed.bit_rate;
  settings.max_bit_rate = changed.max_bit_rate;
  settings.bit_rate_buffer_size = changed.bit_rate_buffer_size;
  buffer.restart(settings.bit_rate);
  return reconfigure() && (wasSteerable || !raised);
}

bool AvcEncoder::reconfigure() {
  AvcSettings::storeRates(settings, follower.scale(), parameters);
  parameters.rc.i_vbv_buffer_size = buffer.limit(parameters.rc.i_vbv_buffer_size);
  return x264_encoder_reconfig(encoder.get(), &parameters) == 0;
}

bool AvcEncoder::flush() {
  if (stream == nullptr) return false;
  AvcOutcome worst = AvcOutcome::kDone;
  // A unit without room takes none of those behind it along.
  while (worst != AvcOutcome::kRefused && x264_encoder_delayed_frames(encoder.get()) > 0) {
    const AvcOutcome outcome = encode(nullptr);
    if (outcome != AvcOutcome::kDone) worst = outcome;
  }
  return worst == AvcOutcome::kDone;
}

AvcOutcome AvcEncoder::encode(x264_picture_t* picture) {
  x264_nal_t* units = nullptr;
  int count = 0;
  x264_picture_t coded;
  const int size = x264_encoder_encode(encoder.get(), &units, &count, picture, &coded);
  if (size <= 0) return size == 0 ? AvcOutcome::kDone : AvcOutcome::kRefused;
  return write(units, count, static_cast<uint32_t>(size), coded);
}

AvcOutcome AvcEncoder::write(x264_nal_t* units, int count, uint32_t size, const x264_picture_t& coded) {
  writeStartCodes(units, count);
  const int64_t presentation = times.presentation(coded.i_pts);
  const int64_t decoding = times.decoding(coded.i_dts);
  announce(presentation, decoding);
  const bool key = coded.b_keyframe != 0;
  if (key) size += static_cast<uint32_t>(headers.size());
  if (!copy(units, count, key)) {
    stream->auxinfo(stream, 0, STREAM_RESET_CODE, nullptr, 0);
    unitLost = true;
    if (callbacks.wrn_printf != nullptr) {
      callbacks.wrn_printf("H.264 encoder: the stream has no room for a unit of %u bytes", size);
    }
    return AvcOutcome::kLost;
  }
  if (key) headers = parameterSets;
  closeUnit(size, presentation, decoding);
  return AvcOutcome::kDone;
}

/// A delimiter comes before all else.
bool AvcEncoder::copy(const x264_nal_t* units, int count, bool key) {
  const auto bytesOf = [units](int from, int to) {
    const uint8_t* begin = units[from].p_payload;
    return std::span<const uint8_t>(begin, units[to].p_payload + units[to].i_payload);
  };
  const bool delimited = units[0].i_type == NAL_AUD && count > 1;
  if (!key || headers.empty()) return copy(bytesOf(0, count - 1));
  if (delimited && !copy(bytesOf(0, 0))) return false;
  return copy(headers) && copy(bytesOf(delimited ? 1 : 0, count - 1));
}

bool AvcEncoder::copy(std::span<const uint8_t> bytes) {
  const auto size = static_cast<uint32_t>(bytes.size());
  return stream->copybytes(stream, const_cast<uint8_t*>(bytes.data()), size) == size;
}

void AvcEncoder::announce(int64_t presentation, int64_t decoding) {
  mc_sample_info_struct_t info{decoding, presentation, 0, 0};
  stream->auxinfo(stream, 0, TIME_STAMP_INFO, &info, sizeof info);
}

void AvcEncoder::closeUnit(uint32_t size, int64_t presentation, int64_t decoding) {
  mc_v_au_struct_t unit{};
  unit.length = size;
  unit.DTS = clockTicks(decoding);
  unit.PTS = clockTicks(presentation);
  stream->auxinfo(stream, 0, VIDEO_AU_CODE, &unit, sizeof unit);
}

}  // namespace qvs::mc
