// VP8 and VP9 out by libvpx: set-up, rates, the way of a frame, worker or not.
#include "video/encoders/VideoEncoderVPX.h"

#include <fmt/format.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "contract/FrameTypes.h"
#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/HostLayout.h"
#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "platform/FreeDeleter.h"
#include "platform/Guard.h"
#include "video/encoders/VPXPaddedImage.h"
#include "video/encoders/VPXTimebase.h"

namespace qvs {

namespace {

// The label of every operation; hosts know it so.
constexpr const char* kLabel = "VideoEncoderVPX::setDefaults";
constexpr uint32_t kDefaultThreads = 16;

}  // namespace

VideoEncoderVPX::VideoEncoderVPX() {
  codec = kVideoCodecVPX;
}

VideoEncoderVPX::~VideoEncoderVPX() {
  guarded("VideoEncoderVPX::destructor", [&] {
    closeCodec();
    for (VideoFrameEncoded& frame : frames) std::free(frame.getBuffer());
  });
}

void VideoEncoderVPX::closeCodec() {
  worker.reset();
  if (codecInitialized != 0) vpx_codec_destroy(&vpxCodec);
  codecInitialized = 0;
  vpxCodec = {};
}

vpx_codec_iface_t* VideoEncoderVPX::codecInterface() const {
  return codecVersion == kVersionVP9 ? vpx_codec_vp9_cx() : vpx_codec_vp8_cx();
}

// Every setter waits: the frame in work may read what they write.
uint32_t VideoEncoderVPX::setDefaults(int32_t, int32_t) {
  return guarded(kLabel, [&]() -> uint32_t {
    finish();
    if (vpx_codec_enc_config_default(codecInterface(), &vpxConfig, 0) == VPX_CODEC_OK) return kSuccess;
    getLogger()->error(kLogContextVideoEncoder, static_cast<int>(sessionIndex),
                       "VideoEncoderVPX.setDefaults[{context}]: Failed to get config");
    return kFailure;
  });
}

uint32_t VideoEncoderVPX::setFrameSize(uint32_t width, uint32_t height) {
  finish();
  vpxConfig.g_w = width;
  vpxConfig.g_h = height;
  return kSuccess;
}

uint32_t VideoEncoderVPX::setFrameRate(double rate) {
  const std::optional<vpx_rational_t> timebase = VPXTimebase::fromFrameRate(rate);
  if (!timebase) return kFailure;
  finish();
  vpxConfig.g_timebase = *timebase;
  frameRate = rate;
  return kSuccess;
}

uint32_t VideoEncoderVPX::setBitrate(uint32_t bitrate) {
  finish();
  vpxConfig.rc_target_bitrate = bitrate / 1000;
  vpxConfig.rc_end_usage = VPX_CBR;
  vpxConfig.g_lag_in_frames = 0;
  return kSuccess;
}

uint32_t VideoEncoderVPX::updateBitrate(uint32_t) {
  return kSuccess;
}

uint32_t VideoEncoderVPX::setKeyFrameFollow(uint8_t) {
  finish();
  vpxConfig.kf_mode = VPX_KF_DISABLED;
  vpxConfig.kf_min_dist = 0;
  vpxConfig.kf_max_dist = 0;
  return kSuccess;
}

int32_t VideoEncoderVPX::cpuUsedInForce() const {
  if (cpuUsedSet != 0) return cpuUsed;
  if (codecVersion == kVersionVP8) return 16;
  return codecVersion == kVersionVP9 ? 8 : 0;
}

uint32_t VideoEncoderVPX::initialize() {
  return guarded(kLabel, [&]() -> uint32_t {
    closeCodec();
    vpxConfig.g_threads = threadCount != 0 ? threadCount : kDefaultThreads;
    // libvpx takes sizes whose working memory is gigabytes; no frame could ever fill them.
    const bool feasible = uint64_t{vpxConfig.g_w} * vpxConfig.g_h < kFramePixelsLimit;
    const vpx_codec_err_t result =
        feasible ? vpx_codec_enc_init(&vpxCodec, codecInterface(), &vpxConfig, 0) : VPX_CODEC_INVALID_PARAM;
    if (result != VPX_CODEC_OK) {
      getLogger()->error(
          kLogContextVideoEncoder, static_cast<int>(sessionIndex),
          fmt::format("VideoEncoderVPX.initialize[{{context}}]: Error initializing VPX encoder: error: {}",
                      static_cast<int>(result)));
      return kFailure;
    }
    codecInitialized = 1;
    imageWidth = vpxConfig.g_w;
    imageHeight = vpxConfig.g_h;
    if (cpuUsedSet != 0 || codecVersion == kVersionVP8 || codecVersion == kVersionVP9) {
      vpx_codec_control(&vpxCodec, VP8E_SET_CPUUSED, cpuUsedInForce());
    }
    if (staticThreshold != 0) vpx_codec_control(&vpxCodec, VP8E_SET_STATIC_THRESHOLD, staticThreshold);
    writeSignalColor();
    if (asynchronous != 0) {
      worker = std::make_unique<EncodeWorker<VPXEncodeJob>>(
          [this](const VPXEncodeJob& job) { guarded(kLabel, [&] { encode(job); }); });
    }
    return kSuccess;
  });
}

// libvpx takes the number of RGB too, but a stream of 4:2:0 that says so is broken.
void VideoEncoderVPX::writeSignalColor() {
  if (codecVersion != kVersionVP9 || (colorSpace == VPX_CS_UNKNOWN && colorRange == VPX_CR_STUDIO_RANGE))
    return;
  if (colorSpace > VPX_CS_BT_2020 || colorRange > VPX_CR_FULL_RANGE) {
    getLogger()->warn(
        kLogContextVideoEncoder, static_cast<int>(sessionIndex),
        fmt::format("VideoEncoderVPX.initialize[{{context}}]: no color space {} and range {}: none is told",
                    colorSpace, colorRange));
    return;
  }
  vpx_codec_control(&vpxCodec, VP9E_SET_COLOR_SPACE, static_cast<int>(colorSpace));
  vpx_codec_control(&vpxCodec, VP9E_SET_COLOR_RANGE, static_cast<int>(colorRange));
}

uint32_t VideoEncoderVPX::addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) {
  return guarded(kLabel, [&]() -> uint32_t {
    if (frame.transferToSystemMemory() != kSuccess) return kFailure;  // its device has told why
    VPXEncodeJob job;
    job.image = *frame.getVPXFrame();
    job.fourcc = frame.getFourCC();
    job.frameType = frameType != 0 ? frameType : frame.getFrameType();
    job.timecode = timecode;
    if (!worker) {
      encode(job);
      return kSuccess;
    }
    job.hold = frame.getBufferAllocation();
    worker->submit(std::move(job));
    return kSuccess;
  });
}

void VideoEncoderVPX::encode(const VPXEncodeJob& job) {
  const int64_t pts = frameCount++;
  if (!isEncodable(job)) return;
  userData[static_cast<uint64_t>(pts) % userData.size()] = {job.timecode, job.frameType};
  const vpx_enc_frame_flags_t flags = job.frameType == kFrameTypeKey ? VPX_EFLAG_FORCE_KF : 0;
  const vpx_image_t* image = paddedImage.cover(job.image);
  // A frame that libvpx refuses is dropped.
  if (vpx_codec_encode(&vpxCodec, image, pts, 1, flags, static_cast<unsigned long>(deadline)) != VPX_CODEC_OK)
    return;
  vpx_codec_iter_t iterator = nullptr;
  while (const vpx_codec_cx_pkt_t* packet = vpx_codec_get_cx_data(&vpxCodec, &iterator)) takePacket(*packet);
}

bool VideoEncoderVPX::isEncodable(const VPXEncodeJob& job) {
  const vpx_image_t& image = job.image;
  const bool planar = job.fourcc == kFourCCYV12 || job.fourcc == kFourCCI420 || job.fourcc == kFourCCIYUV;
  const bool whole = image.planes[0] != nullptr && image.planes[1] != nullptr && image.planes[2] != nullptr;
  if (planar && whole && image.d_w == imageWidth && image.d_h == imageHeight) return true;
  if (showFrameError != 0) {
    showFrameError = 0;
    getLogger()->error(
        kLogContextVideoEncoder, static_cast<int>(sessionIndex),
        fmt::format(
            "VideoEncoderVPX.addFrame[{{context}}]: Frame is not a planar 4:2:0 picture of {}x{}: {}x{}",
            imageWidth, imageHeight, image.d_w, image.d_h));
  }
  return false;
}

void VideoEncoderVPX::takePacket(const vpx_codec_cx_pkt_t& packet) {
  if (packet.kind != VPX_CODEC_CX_FRAME_PKT || packet.data.frame.sz == 0) return;
  const auto& coded = packet.data.frame;
  std::unique_ptr<uint8_t, FreeDeleter> bytes(static_cast<uint8_t*>(std::malloc(coded.sz)));
  if (!bytes) return;
  std::memcpy(bytes.get(), coded.buf, coded.sz);
  const uint64_t timecode = userData[static_cast<uint64_t>(coded.pts) % userData.size()].timecode;
  const uint32_t frameType = (coded.flags & VPX_FRAME_IS_KEY) != 0 ? kFrameTypeKey : kFrameTypePredicted;
  frames.emplace_back(bytes.get(), static_cast<uint32_t>(coded.sz), timecode, frameType, true);
  static_cast<void>(bytes.release());  // the list's now
}

void VideoEncoderVPX::finish() {
  if (worker) worker->wait();
}

uint32_t VideoEncoderVPX::getEncodedFrameCount() {
  finish();
  return static_cast<uint32_t>(frames.size());
}

uint32_t VideoEncoderVPX::getEncodedFrames(std::vector<VideoFrameEncoded>& out) {
  return guarded(kLabel, [&]() -> uint32_t {
    finish();
    out.insert(out.end(), frames.begin(), frames.end());
    frames.clear();
    return kSuccess;
  });
}

}  // namespace qvs
