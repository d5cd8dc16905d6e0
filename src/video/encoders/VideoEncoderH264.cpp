// H.264 out through the codec library: set-up, rates, the way of a frame, worker or not.
#include "video/encoders/VideoEncoderH264.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "bufstream/MainConceptCallbacks.h"
#include "contract/FrameTypes.h"
#include "contract/StageIds.h"
#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint64_t kTimeUnitsPerMs = 10000;  // 100 ns
constexpr double kTimeUnitsPerSecond = 1e7;
constexpr int64_t kBitRateModeVariable = H264_VBR;
constexpr int32_t kCpuAll = -1;
constexpr int32_t kPictureRefused = 1;
constexpr uint32_t kCheckOptions = 3;
constexpr int64_t kMostWaiting = 64;

struct Rates {
  int32_t target, peak, buffer;
};

/// The buffer holds two seconds at the peak; in 64 bits, since a large rate times 110 passes 32.
Rates ratesOf(uint32_t bitrate) {
  const auto field = [](uint64_t value) {
    return static_cast<int32_t>(std::min<uint64_t>(value, std::numeric_limits<int32_t>::max()));
  };
  const uint64_t peak = uint64_t{bitrate} * 110 / 100;
  return {field(bitrate), field(peak), field(peak * 2)};
}

struct DefaultMark {
  uint32_t key;
  int64_t value;
};
/// No B pictures, no delay, IDR pictures by request alone.
constexpr DefaultMark kDefaultMarks[] = {
    {10001, H264_LEVEL_AUTO},   // level_id
    {10002, 0},                 // idr_interval
    {10003, 1},                 // reordering_delay
    {10004, H264_PROGRESSIVE},  // interlace_mode
    {10063, 0},                 // vcsd_mode
    {10066, 0},                 // b_slice_pyramid
    {10080, 0},                 // buffering
    {10085, 0},                 // encoding_buffering
    {10092, 1},                 // min_idr_interval
    {10093, 0},                 // adaptive_b_frames
    {10094, 1},                 // idr_frequency
    {VideoEncoderH264::kKeyForceIdr, 1},
    {VideoEncoderH264::kKeyMaintainOriginPTS, 1},
};

}  // namespace

VideoEncoderH264::VideoEncoderH264() {
  codec = kVideoCodecH264;
  init_callbacks(callbacks);
}

VideoEncoderH264::~VideoEncoderH264() {
  guarded("VideoEncoderH264::destructor", [&] { closeLibrary(); });
}

void VideoEncoderH264::closeLibrary() {
  worker.reset();
  if (v_encoder == nullptr) return;
  h264OutVideoDone(v_encoder, 0);
  h264OutVideoFree(std::exchange(v_encoder, nullptr));
  bufferStream.close();
}

// Every setter waits: the frame in work reads what they write.
uint32_t VideoEncoderH264::setDefaults(int32_t videoType, int32_t pal) {
  finish();
  video_type = videoType;
  PAL = pal;
  for (const DefaultMark& row : kDefaultMarks) mark(row.key, row.value);
  return kSuccess;
}

uint32_t VideoEncoderH264::setFrameSize(uint32_t frameWidth, uint32_t frameHeight) {
  finish();
  width = frameWidth;
  height = frameHeight;
  return kSuccess;
}

uint32_t VideoEncoderH264::setFrameRate(double rate) {
  const double duration = std::ceil(0.5 + kTimeUnitsPerSecond / rate);
  if (!(rate > 0) || !(duration < 1e18)) return kFailure;
  finish();
  frameRate = rate;
  timePerFrame = static_cast<uint64_t>(duration);
  return kSuccess;
}

uint32_t VideoEncoderH264::setBitrate(uint32_t value) {
  finish();
  bitrate = value;
  const Rates rates = ratesOf(value);
  mark(kKeyBitRateMode, kBitRateModeVariable);
  mark(kKeyBitRate, rates.target);
  mark(kKeyMaxBitRate, rates.peak);
  mark(kKeyBitRateBufferSize, rates.buffer);
  return kSuccess;
}

uint32_t VideoEncoderH264::updateBitrate(uint32_t value) {
  return guarded("VideoEncoderH264::updateBitrate", [&]() -> uint32_t {
    finish();
    bitrate = value;
    const Rates rates = ratesOf(value);
    v_settings->bit_rate = rates.target;
    v_settings->max_bit_rate = rates.peak;
    v_settings->bit_rate_buffer_size = rates.buffer;
    if (v_encoder == nullptr) return kFailure;
    h264OutVideoChkSettings(&callbacks, v_settings, kCheckOptions, nullptr);
    return static_cast<uint32_t>(h264OutVideoUpdateSettings(v_encoder, v_settings));
  });
}

uint32_t VideoEncoderH264::applyParameters() {
  return guarded("VideoEncoderH264::applyParameters", [&]() -> uint32_t {
    finish();
    const auto interlaceMode = static_cast<int32_t>(valueOf(kKeyInterlaceMode, 0));
    h264OutVideoDefaultSettings(v_settings, video_type, static_cast<int32_t>(width),
                                static_cast<int32_t>(height), interlaceMode, &callbacks);
    v_settings->frame_rate = frameRate;
    performance_level = static_cast<int32_t>(valueOf(kKeyPerformance, -1));
    if (performance_level >= 0) h264OutVideoPerformance(v_settings, 0, performance_level, 0, &callbacks);
    v_settings->hrd_preview = 0;
    localApplyParameters();
    bufferStream.setIsBFrames(v_settings->reordering_delay > 1);
    bufferStream.setReorderDelay(v_settings->reordering_delay);
    bufferStream.setMaintainOriginPTS(static_cast<uint8_t>(valueOf(kKeyMaintainOriginPTS, 1) != 0));
    const int32_t result = h264OutVideoChkSettings(&callbacks, v_settings, kCheckOptions, nullptr);
    warn(fmt::format("VideoEncoderH264.initialize[{{context}}]: h264OutVideoChkSettings result: {}", result)
             .c_str());
    return kSuccess;
  });
}

void VideoEncoderH264::warn(const char* text) const {
  getLogger()->warn(kLogContextVideoEncoder, static_cast<int>(sessionIndex), text);
}

uint32_t VideoEncoderH264::initialize() {
  return guarded("VideoEncoderH264::initialize", [&]() -> uint32_t {
    closeLibrary();  // of an earlier call
    flushed = refusalLogged = false;
    if (!openLibrary()) return kFailure;
    if (valueOf(kKeyAsynchronous, 0) != 0) {
      const int64_t waiting = std::clamp<int64_t>(valueOf(kKeyAsynchronousDepth, 0), 0, kMostWaiting);
      queues = waiting > 0;
      worker = std::make_unique<EncodeWorker<Job>>(
          [this](const Job& job) { guarded("VideoEncoderH264::addFrame", [&] { encode(job); }); },
          static_cast<size_t>(waiting) + 1);
    }
    return kSuccess;
  });
}

bool VideoEncoderH264::openLibrary() {
  const uint64_t need = uint64_t{width} * height * 3 / 2 + 256;
  if (need > std::numeric_limits<uint32_t>::max()) {
    warn("VideoEncoderH264.initialize[{context}]: h264OutVideoNew failed: ");
    return false;
  }
  if (bufferStream.getBufferSize() < need) bufferStream.setBufferSize(static_cast<uint32_t>(need));
  v_encoder = h264OutVideoNew(&callbacks, v_settings, 0, kCpuAll, 0, 0);
  if (v_encoder == nullptr) {
    warn("VideoEncoderH264.initialize[{context}]: h264OutVideoNew failed: ");
    return false;
  }
  if (h264OutVideoInit(v_encoder, bufferStream.getStream(), 0, nullptr) != 0) {
    warn("VideoEncoderH264.initialize[{context}]: h264OutVideoInit failed: ");
    return false;
  }
  return true;
}

uint32_t VideoEncoderH264::addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) {
  return guarded("VideoEncoderH264::addFrame", [&]() -> uint32_t {
    if (v_encoder == nullptr || flushed) return kFailure;
    if (frame.transferToSystemMemory() != kSuccess) return kFailure;  // its device has told why
    Job job;
    job.picture = frame.getFrame();
    job.frameType = frameType != 0 ? frameType : frame.getFrameType();
    job.timecode = timecode;
    if (worker) {
      job.hold = frame.getBufferAllocation();
      worker->submit(std::move(job));
    } else {
      encode(job);
    }
    return kSuccess;
  });
}

void VideoEncoderH264::encode(const Job& job) {
  if (job.end) {
    h264OutVideoDone(v_encoder, 0);
    return;
  }
  ++frameCount;
  // Products in 64 unsigned bits: a host's timecode may be any number.
  mc_sample_info_struct_t times{};
  times.rtStart = static_cast<int64_t>(job.timecode * kTimeUnitsPerMs);
  times.rtStop = static_cast<int64_t>(job.timecode * kTimeUnitsPerMs + timePerFrame);
  const bool forceIdr = job.frameType == kFrameTypeKey && valueOf(kKeyForceIdr, 1) != 0;
  mc_enc_option_t options[3] = {{EXT_OPT_PARAM_TIMESTAMPS, &times}};
  if (forceIdr) options[1].option_id = EXT_OPT_PARAM_FORCE_IDR;
  // Ahead of the frame, so that the unit finds it in whatever order it comes.
  bufferStream.addFrameTimecode(static_cast<uint64_t>(times.rtStart));
  const frame_tt& picture = job.picture;
  const int32_t result = h264OutVideoPutFrame(v_encoder, picture.plane, picture.stride, picture.width,
                                              picture.height, picture.four_cc, options);
  if (result == kPictureRefused) refuse(picture);
}

void VideoEncoderH264::refuse(const frame_tt& picture) {
  bufferStream.dropFrameTimecode();  // else later units would get the times of earlier frames
  if (refusalLogged) return;
  refusalLogged = true;
  warn(fmt::format("VideoEncoderH264.addFrame[{{context}}]: Frame is not a 4:2:0 picture of {}x{}: {}x{}",
                   v_settings->def_horizontal_size, v_settings->def_vertical_size, picture.width,
                   picture.height)
           .c_str());
}

// Nobody waits for it before asking for its frames: several encoders so end side by side.
void VideoEncoderH264::flush() {
  if (v_encoder == nullptr || flushed) return;
  flushed = true;
  Job end;
  end.end = true;
  if (!worker) return encode(end);
  worker->post(std::move(end));
}

void VideoEncoderH264::finish() {
  if (worker) worker->wait();
}

/// Waits for the frame in work, where others don't wait for it too.
void VideoEncoderH264::settle() {
  if (!worker) return;
  queues && !flushed ? worker->letGo() : worker->wait();
}

uint32_t VideoEncoderH264::getEncodedFrameCount() {
  settle();
  return bufferStream.getEncodedFrameCount();
}

uint32_t VideoEncoderH264::getEncodedFrames(std::vector<VideoFrameEncoded>& out) {
  settle();
  return bufferStream.getEncodedFrames(out);
}

}  // namespace qvs
