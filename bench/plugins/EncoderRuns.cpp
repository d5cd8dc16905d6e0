// Both roads of both codecs.
#include "plugins/EncoderRuns.h"

#include <x264.h>
#include <x265.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frames/geometry/FourCC.h"
#include "video/encoders/hosts/PluginEncoderRow.h"
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

namespace qvs::bench {
namespace {

constexpr int kKbit = kPluginBitRate / 1000;

[[noreturn]] void end(const char* why) {
  std::fprintf(stderr, "qvs-bench-plugins: %s\n", why);
  std::exit(1);
}

EncoderRun throughPlugin(const PluginJob& job, const PluginEncoderRow& row, uint32_t threadsKey = 0) {
  VideoEncoderPluginHost host(row);
  std::string folder = job.folder;
  host.setNativePath(folder.data());
  if (host.createDone() != 0) end("no plug-in");
  host.setFrameSize(job.width, job.height);
  host.setFrameRate(kPluginFrameRate);
  host.setBitrate(kPluginBitRate);
  host.setKeyFrameFollow(1);
  if (threadsKey != 0) host.setParameterValue(threadsKey, int64_t{1});
  host.initialize();
  VideoFrameBuffer frame;
  frame.allocBuffer(job.width, job.height, kFourCCYV12, 1);
  std::vector<VideoFrameEncoded> units;
  units.reserve(32);
  RunMeter meter(job);
  for (size_t i = 0; i < job.pictures.size(); ++i) {
    meter.begin(i);
    std::copy(job.pictures[i].begin(), job.pictures[i].end(), frame.getPlane(0));
    host.addFrame(frame, i % kPluginKeyFrames == 0 ? 1 : 2, i * 1000 / kPluginFrameRate);
    host.getEncodedFrames(units);
    for (const VideoFrameEncoded& unit : units) {
      meter.add(unit.getBuffer(), unit.getLen());
      std::free(unit.getBuffer());
    }
    units.clear();
  }
  return meter.finish();
}

/// Copies a picture into a frame as above, so that both roads read from a cache in the same state, and gives Y, U, V.
struct DirectFrame {
  explicit DirectFrame(const PluginJob& job) { frame.allocBuffer(job.width, job.height, kFourCCYV12, 1); }

  void load(const std::vector<uint8_t>& picture) {
    std::copy(picture.begin(), picture.end(), frame.getPlane(0));
  }
  uint8_t* plane(int i) { return static_cast<uint8_t*>(frame.getFrame().plane[i == 0 ? 0 : 3 - i]); }
  int stride(int i) { return static_cast<int>(frame.getFrame().stride[i == 0 ? 0 : 3 - i]); }

  VideoFrameBuffer frame;
};

EncoderRun x264Directly(const PluginJob& job) {
  x264_param_t param;
  x264_param_default_preset(&param, "veryfast", "zerolatency");
  param.i_width = static_cast<int>(job.width);
  param.i_height = static_cast<int>(job.height);
  param.i_fps_num = kPluginFrameRate;
  param.i_threads = 1;
  param.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  param.i_scenecut_threshold = 0;
  param.rc.i_rc_method = X264_RC_ABR;
  param.rc.i_bitrate = param.rc.i_vbv_max_bitrate = param.rc.i_vbv_buffer_size = kKbit;
  param.b_annexb = 0;
  param.i_log_level = X264_LOG_NONE;
  x264_t* encoder = x264_encoder_open(&param);
  if (encoder == nullptr) end("x264_encoder_open");
  DirectFrame frame(job);
  x264_picture_t picture, coded;
  x264_picture_init(&picture);
  picture.img.i_csp = X264_CSP_I420;
  picture.img.i_plane = 3;
  RunMeter meter(job);
  for (size_t i = 0; i < job.pictures.size(); ++i) {
    meter.begin(i);
    frame.load(job.pictures[i]);
    for (int plane = 0; plane < 3; ++plane) {
      picture.img.plane[plane] = frame.plane(plane);
      picture.img.i_stride[plane] = frame.stride(plane);
    }
    picture.i_pts = static_cast<int64_t>(i);
    picture.i_type = i % kPluginKeyFrames == 0 ? X264_TYPE_IDR : X264_TYPE_AUTO;
    x264_nal_t* nals = nullptr;
    int count = 0;
    const int size = x264_encoder_encode(encoder, &nals, &count, &picture, &coded);
    if (size > 0) meter.add(nals[0].p_payload, static_cast<size_t>(size));
  }
  const EncoderRun run = meter.finish();
  x264_encoder_close(encoder);
  return run;
}

void set(x265_param& param, const PluginJob& job) {
  param.sourceWidth = static_cast<int>(job.width);
  param.sourceHeight = static_cast<int>(job.height);
  param.internalCsp = X265_CSP_I420;
  param.fpsNum = kPluginFrameRate;
  param.fpsDenom = 1;
  param.numaPools = "none";
  param.keyframeMax = -1;
  param.scenecutThreshold = 0;
  param.bOpenGOP = 0;
  param.rc.rateControlMode = X265_RC_ABR;
  param.rc.bitrate = param.rc.vbvMaxBitrate = param.rc.vbvBufferSize = kKbit;
  param.bRepeatHeaders = 1;
  param.bAnnexB = 0;
  param.bEmitInfoSEI = 0;
  param.logLevel = X265_LOG_NONE;
}

EncoderRun x265Directly(const PluginJob& job) {
  const x265_api* api = x265_api_get(8);
  x265_param* param = api->param_alloc();
  api->param_default_preset(param, "superfast", "zerolatency");
  set(*param, job);
  x265_encoder* encoder = api->encoder_open(param);
  if (encoder == nullptr) end("x265_encoder_open");
  DirectFrame frame(job);
  x265_picture *picture = api->picture_alloc(), *coded = api->picture_alloc();
  api->picture_init(param, picture);
  picture->bitDepth = 8;
  std::vector<uint8_t> unit;
  RunMeter meter(job);
  for (size_t i = 0; i < job.pictures.size(); ++i) {
    meter.begin(i);
    frame.load(job.pictures[i]);
    for (int plane = 0; plane < 3; ++plane) {
      picture->planes[plane] = frame.plane(plane);
      picture->stride[plane] = frame.stride(plane);
    }
    picture->pts = static_cast<int64_t>(i);
    picture->sliceType = i % kPluginKeyFrames == 0 ? X265_TYPE_IDR : X265_TYPE_AUTO;
    x265_nal* nals = nullptr;
    uint32_t count = 0;
    if (api->encoder_encode(encoder, &nals, &count, picture, coded) < 0) end("x265_encoder_encode");
    unit.clear();
    for (uint32_t n = 0; n < count; ++n) {
      unit.insert(unit.end(), nals[n].payload, nals[n].payload + nals[n].sizeBytes);
    }
    if (count != 0) meter.add(unit.data(), unit.size());
  }
  const EncoderRun run = meter.finish();
  api->encoder_close(encoder);
  api->picture_free(picture);
  api->picture_free(coded);
  api->param_free(param);
  return run;
}

constexpr uint32_t kX264Threads = 70013, kX265Threads = 80013;

}  // namespace

EncoderRun throughVaapi(const PluginJob& job) {
  return throughPlugin(job, kEncoderH264VAAPI);
}

EncoderRun loadOnly(const PluginJob& job) {
  DirectFrame frame(job);
  RunMeter meter(job);
  for (size_t i = 0; i < job.pictures.size(); ++i) {
    meter.begin(i);
    frame.load(job.pictures[i]);
  }
  return meter.finish();
}

EncoderRun loadAndCopy(const PluginJob& job) {
  DirectFrame frame(job);
  std::vector<uint8_t> copy(job.pictures[0].size());
  RunMeter meter(job);
  for (size_t i = 0; i < job.pictures.size(); ++i) {
    meter.begin(i);
    frame.load(job.pictures[i]);
    std::memcpy(copy.data(), frame.frame.getPlane(0), copy.size());
    meter.add(copy.data() + i, 1);
  }
  return meter.finish();
}

const PluginRoads kX264Roads{
    "plugins.x264_vs_direct",
    [](const PluginJob& job) { return throughPlugin(job, kEncoderH264X264, kX264Threads); }, x264Directly};
const PluginRoads kX265Roads{
    "plugins.x265_vs_direct",
    [](const PluginJob& job) { return throughPlugin(job, kEncoderH265X265, kX265Threads); }, x265Directly};

}  // namespace qvs::bench
