// The H.263 encoder of the sample framework, over libavcodec's two.
#include "ipp-samples/H263VideoEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "ipp-samples/AvEncoderLibrary.h"

namespace qvs::UMC {

namespace {

struct Size {
  Ipp32s width, height;
};
constexpr Size kStandardSizes[] = {{128, 96}, {176, 144}, {352, 288}, {704, 576}, {1408, 1152}};
constexpr Ipp32s kRateUnit = 1000;
constexpr int kQuiet = 1024;  ///< added to the level of its messages: the console is the host's

bool isStandard(const VideoInfo& info) {
  return std::any_of(std::begin(kStandardSizes), std::end(kStandardSizes), [&](const Size& size) {
    return size.width == info.width && size.height == info.height;
  });
}

/// Modes that only H.263+ has.
bool takesPlus(const h263e_Param& param) {
  return param.advPred != 0 || param.deblockFilt != 0 || param.advIntra != 0 || param.UMV != 0;
}

Ipp32s quantizer(Ipp32s value) {
  return std::clamp(value, 1, 31);
}

}  // namespace

struct H263VideoEncoder::State {
  const AvEncoderLibrary* av = nullptr;
  AVCodecContext* context = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  bool plus = false;
  FrameType type = NONE_PICTURE;
  std::string idle;
  double psnrSum = 0;
  int64_t psnrPictures = 0;
  int64_t pictures = 0;
  int sinceKey = 0;    ///< pictures since the last key picture that was due
  int keyQuality = 0;  ///< of a constant quantizer, as is the next
  int quality = 0;

  ~State() { close(); }

  void close() {
    if (av == nullptr) return;
    av->avcodec_free_context(&context);
    av->av_frame_free(&frame);
    av->av_packet_free(&packet);
  }

  bool open(const H263EncoderParams& params) {
    const VideoInfo& info = params.info;
    plus = takesPlus(params.m_Param) || !isStandard(info);
    const AVCodec* codec = av->avcodec_find_encoder_by_name(plus ? "h263p" : "h263");
    context = codec != nullptr ? av->avcodec_alloc_context3(codec) : nullptr;
    frame = av->av_frame_alloc();
    packet = av->av_packet_alloc();
    if (context == nullptr || frame == nullptr || packet == nullptr) return false;
    context->width = info.width;
    context->height = info.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    const auto rate = static_cast<int>(std::lround(info.framerate * kRateUnit));
    const int common = std::gcd(kRateUnit, rate);
    context->time_base = {kRateUnit / common, rate / common};
    context->framerate = {context->time_base.den, context->time_base.num};
    context->thread_count = 1;
    context->log_level_offset = kQuiet;
    context->max_b_frames = 0;
    setRate(params);
    setModes(params.m_Param);
    return av->avcodec_open2(context, codec, nullptr) >= 0;
  }

  void setRate(const H263EncoderParams& params) {
    const h263e_Param& param = params.m_Param;
    context->bit_rate = 0;
    if (param.RateControl != 0) {
      context->bit_rate = param.BitRate > 0 ? param.BitRate : static_cast<int64_t>(params.info.bitrate);
    }
    if (context->bit_rate == 0) {
      context->flags |= AV_CODEC_FLAG_QSCALE;
      keyQuality = quantizer(param.quantIPic) * FF_QP2LAMBDA;
      quality = quantizer(param.quantPPic) * FF_QP2LAMBDA;
    }
    context->gop_size = std::max(param.IPicdist, 1);
    // Without a threshold of the caller's, key pictures come where they are due and nowhere else.
    const int64_t threshold = param.SceneChangeThreshold > 0 ? param.SceneChangeThreshold : 1000000000;
    option("sc_threshold", threshold);
    option("skip_threshold", param.FrameSkip);
  }

  void setModes(const h263e_Param& param) {
    const auto flag = [&](Ipp32s wanted, int bits) {
      if (wanted != 0) context->flags |= bits;
    };
    flag(param.advPred, AV_CODEC_FLAG_4MV);
    flag(param.deblockFilt, AV_CODEC_FLAG_LOOP_FILTER);
    flag(param.advIntra, AV_CODEC_FLAG_AC_PRED);
    flag(param.calcPSNR, AV_CODEC_FLAG_PSNR);
    if (param.advPred != 0) option("obmc", 1);
    if (param.UMV != 0) option("umv", 1);
    if (param.GOBheaders != 0)
      option("ps", 1);  // a header in front of each group that has begun a packet of a byte
    context->me_range = std::max({param.PPicsearchWidth, param.PPicsearchHeight, 0});
    option("motion_est", std::clamp(param.MEalgorithm, 0, 2));
    context->me_subpel_quality = param.MEaccuracy <= 1 ? 1 : 8;
    if (plus && param.PAR_width > 0 && param.PAR_height > 0) {
      context->sample_aspect_ratio = {param.PAR_width, param.PAR_height};
    }
  }

  void option(const char* name, int64_t value) {
    av->av_opt_set_int(context, name, value, AV_OPT_SEARCH_CHILDREN);
  }

  void noteIdle(const h263e_Param& param) {
    const h263e_Param standard;
    const auto note = [&](bool nothing, const char* name) {
      if (nothing) idle += (idle.empty() ? "" : ", ") + std::string(name);
    };
    const bool constant = (context->flags & AV_CODEC_FLAG_QSCALE) != 0;
    note(!constant && param.quantIPic != standard.quantIPic, "quantIPic");
    note(!constant && param.quantPPic != standard.quantPPic, "quantPPic");
    note(param.quantBPic != standard.quantBPic, "quantBPic");
    note(param.PPicdist > 1, "PPicdist");
    note(param.MEalgorithm > 2, "MEalgorithm");
    note(param.MEaccuracy > 2, "MEaccuracy");
    // It comes with advanced intra coding and not without.
    note(param.modQuant != 0 && param.advIntra == 0, "modQuant");
    note(!plus && (param.PAR_width > 0 || param.PAR_height > 0), "PAR");
  }

  Status send(const VideoData& in) {
    av->av_frame_unref(frame);
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = in.GetWidth();
    frame->height = in.GetHeight();
    frame->pts = pictures++;
    const bool forced = in.GetFrameType() == I_PICTURE;
    frame->pict_type = forced ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    sinceKey = forced || pictures == 1 || sinceKey + 1 >= context->gop_size ? 0 : sinceKey + 1;
    frame->quality = sinceKey == 0 ? keyQuality : quality;
    for (int plane = 0; plane < 3; ++plane) {
      const int rows = plane == 0 ? in.GetHeight() : (in.GetHeight() + 1) / 2;
      frame->linesize[plane] = in.GetPlanePitch(plane);
      frame->data[plane] = const_cast<Ipp8u*>(in.GetPlanePointer(plane));  // only read
      // The caller's memory, lent: nothing is copied and nothing freed.
      frame->buf[plane] = av->av_buffer_create(
          frame->data[plane], static_cast<size_t>(frame->linesize[plane]) * static_cast<size_t>(rows),
          [](void*, uint8_t*) {}, nullptr, AV_BUFFER_FLAG_READONLY);
      if (frame->buf[plane] == nullptr) return UMC_ERR_ALLOC;
    }
    const int sent = av->avcodec_send_frame(context, frame);
    av->av_frame_unref(frame);
    return sent >= 0 ? UMC_OK : UMC_ERR_FAILED;
  }

  /// What the encoder tells of the picture's error.
  void addPsnr() {
    size_t size = 0;
    const uint8_t* stats = av->av_packet_get_side_data(packet, AV_PKT_DATA_QUALITY_STATS, &size);
    uint64_t error = 0;
    if (stats == nullptr || size < 16) return;
    std::memcpy(&error, stats + 8, sizeof error);
    const double samples = static_cast<double>(context->width) * context->height;
    psnrSum += error > 0 ? 10 * std::log10(255.0 * 255.0 * samples / static_cast<double>(error)) : 100;
    ++psnrPictures;
  }
};

H263VideoEncoder::H263VideoEncoder() : state(std::make_unique<State>()) {}
H263VideoEncoder::~H263VideoEncoder() = default;

Status H263VideoEncoder::Init(BaseCodecParams* params) {
  const auto* wanted = dynamic_cast<H263EncoderParams*>(params);
  if (wanted == nullptr) return UMC_ERR_INVALID_PARAMS;
  state = std::make_unique<State>();
  state->av = AvEncoderLibrary::get();
  if (state->av == nullptr) return UMC_ERR_UNSUPPORTED;
  const VideoInfo& info = wanted->info;
  const bool sane = info.width > 0 && info.height > 0 && info.framerate >= 0.001 && info.framerate <= 1000;
  if (!sane || info.color_format != YUV420) return UMC_ERR_INVALID_PARAMS;
  if (!state->open(*wanted)) {
    state->close();
    return UMC_ERR_FAILED;
  }
  state->noteIdle(wanted->m_Param);
  return UMC_OK;
}

Status H263VideoEncoder::GetFrame(VideoData* in, MediaData* out) {
  if (state->context == nullptr) return UMC_ERR_NOT_INITIALIZED;
  if (in->GetWidth() != state->context->width || in->GetHeight() != state->context->height) {
    return UMC_ERR_INVALID_PARAMS;
  }
  if (const Status sent = state->send(*in); sent != UMC_OK) return sent;
  const AvEncoderLibrary& av = *state->av;
  if (av.avcodec_receive_packet(state->context, state->packet) < 0) return UMC_ERR_NOT_ENOUGH_DATA;
  out->Append(state->packet->data, static_cast<size_t>(state->packet->size));
  out->SetTime(in->GetTime());
  state->type = (state->packet->flags & AV_PKT_FLAG_KEY) != 0 ? I_PICTURE : P_PICTURE;
  state->addPsnr();
  av.av_packet_unref(state->packet);
  return UMC_OK;
}

Status H263VideoEncoder::Close() {
  state->close();
  return UMC_OK;
}

FrameType H263VideoEncoder::GetFrameType() const {
  return state->type;
}
const std::string& H263VideoEncoder::GetIdleSettings() const {
  return state->idle;
}

Ipp64f H263VideoEncoder::GetPSNR() const {
  return state->psnrPictures > 0 ? state->psnrSum / static_cast<double>(state->psnrPictures) : 0.0;
}

}  // namespace qvs::UMC
