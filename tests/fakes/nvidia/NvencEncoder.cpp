// The emulated encoder: the card's order of things, with a software encoder behind.
#include "NvencEncoder.h"

#include <algorithm>
#include <cstring>

namespace qvs::fakes {
namespace {

constexpr uint32_t kDefaultRate = 2000000;
constexpr uint32_t kSmallest[] = {145, 49};
constexpr uint32_t kLargest = 4096;

bool same(const GUID& one, const GUID& other) {
  return std::memcmp(&one, &other, sizeof(one)) == 0;
}

}  // namespace

NvencEncoder::~NvencEncoder() {
  Driver& driver = Driver::get();
  // The worker may have pictures of this one.
  driver.engine.wait(driver.engine.end(queue));
  if (reserved != 0 && driver.memory.free(reserved)) driver.closed("memory");
  for (NvencInput* input : inputs) delete input;
  for (NvencOutput* output : outputs) delete output;
}

bool NvencEncoder::isUsable() const {
  Driver& driver = Driver::get();
  return driver.isLive(driver.contexts, context) && context->dead == CUDA_SUCCESS;
}

bool NvencEncoder::setRate(const NV_ENC_RC_PARAMS& rate) {
  settings.bitRate = rate.averageBitRate != 0 ? rate.averageBitRate : kDefaultRate;
  settings.maxBitRate = std::max(settings.bitRate, rate.maxBitRate);
  settings.rate = rate.rateControlMode == NV_ENC_PARAMS_RC_CONSTQP ? SoftwareRate::kConstantQp
                  : rate.rateControlMode == NV_ENC_PARAMS_RC_VBR   ? SoftwareRate::kVariableBitRate
                                                                   : SoftwareRate::kConstantBitRate;
  settings.qp = rate.constQP.qpInterP;
  if (rate.rateControlMode == NV_ENC_PARAMS_RC_VBR && rate.targetQuality != 0 && rate.averageBitRate == 0) {
    settings.rate = SoftwareRate::kConstantQp;
    settings.qp = rate.targetQuality;
  }
  return settings.qp <= 51;
}

NVENCSTATUS NvencEncoder::initialize(const NV_ENC_INITIALIZE_PARAMS& wanted) {
  if (isInitialized() || wanted.encodeConfig == nullptr) return NV_ENC_ERR_INVALID_PARAM;
  const NV_ENC_CONFIG& config = *wanted.encodeConfig;
  const bool hevc = same(wanted.encodeGUID, NV_ENC_CODEC_HEVC_GUID);
  if (!hevc && !same(wanted.encodeGUID, NV_ENC_CODEC_H264_GUID)) return NV_ENC_ERR_INVALID_PARAM;
  const uint32_t width = wanted.encodeWidth, height = wanted.encodeHeight;
  if (width < kSmallest[0] || height < kSmallest[1] || width > kLargest || height > kLargest) {
    return NV_ENC_ERR_INVALID_PARAM;
  }
  if (width % 2 != 0 || height % 2 != 0 || wanted.enableEncodeAsync != 0) return NV_ENC_ERR_UNSUPPORTED_PARAM;
  if (config.frameIntervalP > 5 || wanted.frameRateNum == 0 || wanted.frameRateDen == 0)
    return NV_ENC_ERR_INVALID_PARAM;
  if (!setRate(config.rcParams)) return NV_ENC_ERR_INVALID_PARAM;
  settings.codec = hevc ? SoftwareCodec::kH265 : SoftwareCodec::kH264;
  settings.fpsNumerator = wanted.frameRateNum;
  settings.fpsDenominator = wanted.frameRateDen;
  if (!hevc) {
    const auto& h264 = config.encodeCodecConfig.h264Config;
    settings.cabac = h264.entropyCodingMode != NV_ENC_H264_ENTROPY_CODING_MODE_CAVLC;
    const bool baseline = same(config.profileGUID, NV_ENC_H264_PROFILE_BASELINE_GUID);
    settings.cabac = settings.cabac && !baseline;
    settings.transform8x8 = !baseline && !same(config.profileGUID, NV_ENC_H264_PROFILE_MAIN_GUID);
  }
  Driver& driver = Driver::get();
  reserved = driver.memory.allocate(NvencInput::size(width, height) * 4, context, false);
  if (reserved == 0) return NV_ENC_ERR_OUT_OF_MEMORY;
  driver.opened("memory");
  settings.width = width;
  settings.height = height;
  encoder = makeSoftwareEncoder(settings);
  if (encoder == nullptr) return NV_ENC_ERR_GENERIC;
  gop = config.frameIntervalP == 0 ? 1 : config.gopLength;
  group = static_cast<size_t>(std::max(config.frameIntervalP, 1));
  if (config.rcParams.enableLookahead != 0) group += config.rcParams.lookaheadDepth;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS NvencEncoder::reconfigure(const NV_ENC_RECONFIGURE_PARAMS& wanted) {
  const NV_ENC_INITIALIZE_PARAMS& next = wanted.reInitEncodeParams;
  if (next.encodeWidth != settings.width || next.encodeHeight != settings.height ||
      next.encodeConfig == nullptr) {
    return NV_ENC_ERR_UNSUPPORTED_PARAM;
  }
  if (!setRate(next.encodeConfig->rcParams)) return NV_ENC_ERR_INVALID_PARAM;
  forceKey = forceKey || wanted.forceIDR != 0;
  Driver::get().push(context, queue,
                     [encoder = encoder, rate = settings.bitRate, most = settings.maxBitRate] {
                       encoder->setBitRate(rate, most);
                     });
  return NV_ENC_SUCCESS;
}

NVENCSTATUS NvencEncoder::setInputStream(CUstream stream) {
  Driver& driver = Driver::get();
  if (stream != nullptr && !driver.isLive(driver.streams, stream)) return NV_ENC_ERR_INVALID_PARAM;
  queue = stream != nullptr ? stream->queue : context->legacy;
  return NV_ENC_SUCCESS;
}

std::vector<uint8_t> NvencEncoder::headers() {
  Driver& driver = Driver::get();
  driver.engine.wait(driver.engine.end(queue));
  return encoder->headers();
}

bool NvencEncoder::toNv12(const NvencInput& input, const uint8_t* from, std::vector<uint8_t>& to) {
  if (from == nullptr) return false;
  const size_t width = input.width, height = input.height, half = height / 2;
  to.resize(width * (height + half));
  for (size_t row = 0; row < height; ++row) std::memcpy(&to[row * width], from + row * input.pitch, width);
  const uint8_t* chroma = from + size_t{input.pitch} * height;
  const bool planar = input.format != NV_ENC_BUFFER_FORMAT_NV12;
  const size_t pitch = planar ? input.pitch / 2 : input.pitch;
  const size_t uPlane = input.format == NV_ENC_BUFFER_FORMAT_YV12 ? 1 : 0;
  for (size_t row = 0; row < half; ++row) {
    uint8_t* out = &to[(height + row) * width];
    if (!planar) {
      std::memcpy(out, chroma + row * pitch, width);
      continue;
    }
    const uint8_t* u = chroma + (uPlane * half + row) * pitch;
    const uint8_t* v = chroma + ((1 - uPlane) * half + row) * pitch;
    for (size_t x = 0; x < width / 2; ++x) {
      out[2 * x] = u[x];
      out[2 * x + 1] = v[x];
    }
  }
  return true;
}

NVENCSTATUS NvencEncoder::encode(const NV_ENC_PIC_PARAMS& picture) {
  if ((picture.encodePicFlags & NV_ENC_PIC_FLAG_EOS) != 0) {
    codeWaiting();
    return NV_ENC_SUCCESS;
  }
  auto* input = static_cast<NvencInput*>(picture.inputBuffer);
  auto* output = static_cast<NvencOutput*>(picture.outputBitstream);
  if (!inputs.contains(input) || !outputs.contains(output)) return NV_ENC_ERR_INVALID_PTR;
  if (input->pointer != 0 && input->mapped == 0) return NV_ENC_ERR_RESOURCE_NOT_MAPPED;
  if (input->width < settings.width || input->height < settings.height) return NV_ENC_ERR_INVALID_PARAM;
  auto nv12 = std::make_shared<std::vector<uint8_t>>();
  if (input->pointer == 0) {
    toNv12(*input, input->bytes.data(), *nv12);
  } else {
    const NvencInput copy{input->width, input->height, input->pitch, input->format, input->pointer, {}};
    Driver::get().push(context, queue, [copy, nv12, context = context] {
      const uint8_t* from =
          Driver::get().memory.bytesAt(copy.pointer, NvencInput::size(copy.pitch, copy.height));
      if (!toNv12(copy, from, *nv12)) Driver::get().kill(context, CUDA_ERROR_ILLEGAL_ADDRESS);
    });
  }
  const bool isDue = gop != 0 && gop != NVENC_INFINITE_GOPLENGTH && sinceKey >= gop;
  const bool key = forceKey || isDue || (picture.encodePicFlags & NV_ENC_PIC_FLAG_FORCEIDR) != 0;
  forceKey = false;
  sinceKey = key ? 1 : sinceKey + 1;
  output->done = {};
  output->timestamp = picture.inputTimeStamp;
  output->duration = picture.inputDuration;
  output->number = static_cast<uint32_t>(count);
  waiting.push_back({nv12, output, count++, key});
  // What refers to the past only needs no more.
  if (!key && waiting.size() < group) return NV_ENC_ERR_NEED_MORE_INPUT;
  codeWaiting();
  return NV_ENC_SUCCESS;
}

void NvencEncoder::codeWaiting() {
  if (waiting.empty()) return;
  auto work = [pictures = waiting, encoder = encoder, width = settings.width] {
    for (const Waiting& one : pictures) {
      const uint8_t* y = one.nv12->data();
      const size_t luma = one.nv12->size() / 3 * 2;
      const bool fits = luma != 0 && encoder->encode({y, y + luma, width, one.number, one.key});
      one.output->failed = !fits || !encoder->take(one.output->coded);
      ++Driver::get().coded;
    }
  };
  const Stream::Point done = Driver::get().push(context, queue, std::move(work));
  for (const Waiting& one : waiting) one.output->done = done;
  waiting.clear();
}

NVENCSTATUS NvencEncoder::lock(NV_ENC_LOCK_BITSTREAM& out) {
  auto* output = static_cast<NvencOutput*>(out.outputBitstream);
  if (!outputs.contains(output)) return NV_ENC_ERR_INVALID_PTR;
  Driver& driver = Driver::get();
  // Nothing was said to be ready.
  if (output->done.stream == nullptr) return NV_ENC_ERR_INVALID_PARAM;
  if (out.doNotWait != 0 && !driver.engine.isReached(output->done)) return NV_ENC_ERR_LOCK_BUSY;
  driver.engine.wait(output->done);
  if (output->failed) return NV_ENC_ERR_GENERIC;
  out.bitstreamBufferPtr = output->coded.bytes.data();
  out.bitstreamSizeInBytes = static_cast<uint32_t>(output->coded.bytes.size());
  out.outputTimeStamp = output->timestamp;
  out.outputDuration = output->duration;
  out.frameIdx = output->number;
  out.pictureType = output->coded.type == SoftwareCoded::Type::kKey ? NV_ENC_PIC_TYPE_IDR : NV_ENC_PIC_TYPE_P;
  out.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
  out.numSlices = 1;
  out.frameAvgQP = settings.qp;
  out.hwEncodeStatus = 2;
  return NV_ENC_SUCCESS;
}

}  // namespace qvs::fakes
