// An encoder on an NVIDIA card: opening it, pictures in, coded pictures out, closing.
#include "NvencSession.h"

#include <ffnvcodec/dynlink_loader.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace qvs::nvenc {
namespace {

using plugins::FrameInfo;
using plugins::Picture;

constexpr uint32_t kH264 = 7;
constexpr uint32_t kH265 = 12;

/// Sessions of this process that the driver counts.
std::atomic<int> sessionsInUse{0};

bool same(const GUID& one, const GUID& other) {
  return std::memcmp(&one, &other, sizeof one) == 0;
}

/// Drivers refuse the session beyond their limit by one of these.
bool isLimit(NVENCSTATUS code) {
  return code == NV_ENC_ERR_OUT_OF_MEMORY || code == NV_ENC_ERR_INCOMPATIBLE_CLIENT_KEY;
}

}  // namespace

int32_t NvencSession::checkCuda(CUresult code, int32_t status, const char* call) {
  return code == CUDA_SUCCESS ? QVS_PLUGIN_OK : fail(status, cudaFailure(*driver, call, code));
}

int32_t NvencSession::checkNvenc(NVENCSTATUS code, int32_t status, const char* call) {
  return code == NV_ENC_SUCCESS ? QVS_PLUGIN_OK : fail(status, nvencFailure(*driver, encoder, call, code));
}

int32_t NvencSession::version(std::string& text, uint32_t& major, uint32_t& minor) {
  NvencSession probe;
  probe.driver = nvencDriver(text);
  if (probe.driver == nullptr) return QVS_PLUGIN_SOFTWARE_ONLY;
  int cards = 0;
  const CUresult code = probe.driver->cuda->cuDeviceGetCount(&cards);
  if (code != CUDA_SUCCESS) text = cudaFailure(*probe.driver, "cuDeviceGetCount", code);
  int32_t status = QVS_PLUGIN_SOFTWARE_ONLY;
  if (code == CUDA_SUCCESS && cards == 0) text = "the driver has no card";
  for (int card = 0; card < cards && status != QVS_PLUGIN_OK; ++card) {
    status = probe.enterCard(card);
    if (status == QVS_PLUGIN_OK) status = probe.openSession();
    // All sessions in use are a card that encodes.
    if (status == QVS_PLUGIN_SESSION_LIMIT) status = QVS_PLUGIN_OK;
    text = probe.problem;
    probe.close();
  }
  if (status != QVS_PLUGIN_OK) return status;
  major = probe.driver->major;
  minor = probe.driver->minor;
  text = "NVENC " + std::to_string(major) + "." + std::to_string(minor);
  return QVS_PLUGIN_OK;
}

int32_t NvencSession::setCudaContext(const PluginVideoCUDAContext& context) {
  given = context;
  return QVS_PLUGIN_OK;
}

// Opening.

int32_t NvencSession::open() {
  close();
  broken.clear();
  times.restart();
  submitted = ready = collected = 0;
  opened = settings;
  hevc = common.codec == kH265;
  if (common.codec != 0 && common.codec != kH264 && !hevc) {
    return fail(QVS_PLUGIN_NO_ENTRY_POINTS, "codecs are H.264 and H.265");
  }
  driver = nvencDriver(problem);
  if (driver == nullptr) return QVS_PLUGIN_SOFTWARE_ONLY;
  int32_t status = QVS_PLUGIN_OK;
  if (given.m_Context != nullptr) {
    home.take(static_cast<CUcontext>(given.m_Context));
    stream = static_cast<CUstream>(given.m_Stream);
  } else {
    status = enterCard(std::max(common.gpu, 0));
  }
  if (status == QVS_PLUGIN_OK) {
    const CudaScope scope(*driver, home.context());
    status = checkCuda(scope.code(), QVS_PLUGIN_CREATE_CONTEXT, "cuCtxPushCurrent");
    if (status == QVS_PLUGIN_OK) status = openSession();
    if (status == QVS_PLUGIN_OK) status = configure();
    if (status == QVS_PLUGIN_OK) status = createSlots();
  }
  if (status != QVS_PLUGIN_OK) {
    std::string why = std::move(problem);
    close();
    problem = std::move(why);
  }
  return status;
}

int32_t NvencSession::enterCard(int card) {
  stream = nullptr;
  return checkCuda(home.retain(*driver, card), QVS_PLUGIN_CREATE_CONTEXT, "cuDevicePrimaryCtxRetain");
}

int32_t NvencSession::openSession() {
  NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS parameters{};
  parameters.version = NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER;
  parameters.deviceType = NV_ENC_DEVICE_TYPE_CUDA;
  parameters.device = home.context();
  parameters.apiVersion = NVENCAPI_VERSION;
  void* made = nullptr;
  const NVENCSTATUS code = driver->nvenc.nvEncOpenEncodeSessionEx(&parameters, &made);
  if (code == NV_ENC_SUCCESS) {
    encoder = made;
    ++sessionsInUse;
    return QVS_PLUGIN_OK;
  }
  // A refused session may have left something that is to be given back.
  if (made != nullptr) driver->nvenc.nvEncDestroyEncoder(made);
  if (!isLimit(code)) return checkNvenc(code, QVS_PLUGIN_CREATE_ENCODER, "nvEncOpenEncodeSessionEx");
  return fail(QVS_PLUGIN_SESSION_LIMIT,
              "session limit of the driver reached: " + std::to_string(sessionsInUse.load()) + " in use");
}

bool NvencSession::has(const GUID& codec) {
  uint32_t count = 0;
  if (driver->nvenc.nvEncGetEncodeGUIDCount(encoder, &count) != NV_ENC_SUCCESS) return false;
  std::vector<GUID> guids(count);
  if (driver->nvenc.nvEncGetEncodeGUIDs(encoder, guids.data(), count, &count) != NV_ENC_SUCCESS) return false;
  return std::any_of(guids.begin(), guids.end(), [&](const GUID& one) { return same(one, codec); });
}

int32_t NvencSession::readCaps(NvencCaps& into) {
  const struct {
    NV_ENC_CAPS cap;
    int NvencCaps::*field;
  } rows[] = {{NV_ENC_CAPS_NUM_MAX_BFRAMES, &NvencCaps::bFrames},
              {NV_ENC_CAPS_SUPPORT_BFRAME_REF_MODE, &NvencCaps::bReferences},
              {NV_ENC_CAPS_SUPPORT_LOOKAHEAD, &NvencCaps::lookAhead},
              {NV_ENC_CAPS_SUPPORT_TEMPORAL_AQ, &NvencCaps::temporalAq},
              {NV_ENC_CAPS_SUPPORT_DYN_BITRATE_CHANGE, &NvencCaps::changesBitRate},
              {NV_ENC_CAPS_WIDTH_MIN, &NvencCaps::minWidth},
              {NV_ENC_CAPS_HEIGHT_MIN, &NvencCaps::minHeight},
              {NV_ENC_CAPS_WIDTH_MAX, &NvencCaps::maxWidth},
              {NV_ENC_CAPS_HEIGHT_MAX, &NvencCaps::maxHeight}};
  for (const auto& row : rows) {
    NV_ENC_CAPS_PARAM asked{};
    asked.version = NV_ENC_CAPS_PARAM_VER;
    asked.capsToQuery = row.cap;
    const NVENCSTATUS code = driver->nvenc.nvEncGetEncodeCaps(
        encoder, hevc ? NV_ENC_CODEC_HEVC_GUID : NV_ENC_CODEC_H264_GUID, &asked, &(into.*row.field));
    if (code != NV_ENC_SUCCESS) return checkNvenc(code, QVS_PLUGIN_CREATE_CONFIG, "nvEncGetEncodeCaps");
  }
  return QVS_PLUGIN_OK;
}

int32_t NvencSession::chooseFormat() {
  constexpr uint32_t kMost = 32;
  NV_ENC_BUFFER_FORMAT formats[kMost];
  uint32_t count = 0;
  const NVENCSTATUS code = driver->nvenc.nvEncGetInputFormats(
      encoder, hevc ? NV_ENC_CODEC_HEVC_GUID : NV_ENC_CODEC_H264_GUID, formats, kMost, &count);
  if (code != NV_ENC_SUCCESS) return checkNvenc(code, QVS_PLUGIN_NO_COLOR_FORMAT, "nvEncGetInputFormats");
  NV_ENC_BUFFER_FORMAT* end = formats + std::min(count, kMost);
  for (const NV_ENC_BUFFER_FORMAT planar : {NV_ENC_BUFFER_FORMAT_IYUV, NV_ENC_BUFFER_FORMAT_YV12}) {
    if (std::find(formats, end, planar) == end) continue;
    format = planar;
    return QVS_PLUGIN_OK;
  }
  return fail(QVS_PLUGIN_NO_COLOR_FORMAT, "the card takes no planar pictures");
}

int32_t NvencSession::configure() {
  const GUID codec = hevc ? NV_ENC_CODEC_HEVC_GUID : NV_ENC_CODEC_H264_GUID;
  if (!has(codec)) {
    return fail(QVS_PLUGIN_NO_ENTRY_POINTS, hevc ? "the card has no H.265" : "the card has no H.264");
  }
  caps = {};
  int32_t status = readCaps(caps);
  if (status == QVS_PLUGIN_OK) status = chooseFormat();
  if (status != QVS_PLUGIN_OK) return status;
  NV_ENC_PRESET_CONFIG preset{};
  preset.version = NV_ENC_PRESET_CONFIG_VER;
  preset.presetCfg.version = NV_ENC_CONFIG_VER;
  status =
      checkNvenc(driver->nvenc.nvEncGetEncodePresetConfigEx(encoder, codec, NvencConfig::presetOf(opened),
                                                            NvencConfig::tuningOf(opened), &preset),
                 QVS_PLUGIN_CREATE_CONFIG, "nvEncGetEncodePresetConfigEx");
  if (status != QVS_PLUGIN_OK) return status;
  if (!setUp.store(opened, common, hevc, caps, preset.presetCfg, problem)) return QVS_PLUGIN_INIT_ENCODER;
  status = checkNvenc(driver->nvenc.nvEncInitializeEncoder(encoder, &setUp.parameters),
                      QVS_PLUGIN_INIT_ENCODER, "nvEncInitializeEncoder");
  if (status != QVS_PLUGIN_OK || stream == nullptr) return status;
  // The driver reads a surface when the copy into it, in the same stream, is done.
  return checkNvenc(driver->nvenc.nvEncSetIOCudaStreams(encoder, &stream, &stream), QVS_PLUGIN_INIT_ENCODER,
                    "nvEncSetIOCudaStreams");
}

int32_t NvencSession::createSlots() {
  // Those that the encoder holds back by its settings, those that are to be in the card, and some that drivers keep.
  constexpr int64_t kKept = 4;
  const int64_t held = opened.bFrames + opened.lookAhead;
  slots.reserve(static_cast<size_t>(opened.asyncDepth + held + (held > 0 ? kKept : 0)));
  while (slots.size() < slots.capacity()) {
    slots.emplace_back();
    if (const int32_t status = createSlot(slots.back()); status != QVS_PLUGIN_OK) return status;
  }
  return QVS_PLUGIN_OK;
}

int32_t NvencSession::createSlot(Slot& slot) {
  constexpr int32_t kStatus = QVS_PLUGIN_CREATE_SURFACES;
  constexpr unsigned kElement = 16;
  const uint32_t width = setUp.parameters.encodeWidth;
  const uint32_t height = setUp.parameters.encodeHeight;
  int32_t status =
      checkCuda(driver->cuda->cuMemAllocPitch(&slot.surface, &pitch, width, size_t{height} * 3 / 2, kElement),
                kStatus, "cuMemAllocPitch");
  if (status != QVS_PLUGIN_OK) {
    slot.surface = 0;
    return status;
  }
  NV_ENC_REGISTER_RESOURCE resource{};
  resource.version = NV_ENC_REGISTER_RESOURCE_VER;
  resource.resourceType = NV_ENC_INPUT_RESOURCE_TYPE_CUDADEVICEPTR;
  resource.resourceToRegister = reinterpret_cast<void*>(slot.surface);
  resource.width = width;
  resource.height = height;
  resource.pitch = static_cast<uint32_t>(pitch);
  resource.bufferFormat = format;
  resource.bufferUsage = NV_ENC_INPUT_IMAGE;
  status =
      checkNvenc(driver->nvenc.nvEncRegisterResource(encoder, &resource), kStatus, "nvEncRegisterResource");
  if (status != QVS_PLUGIN_OK) return status;
  slot.registered = resource.registeredResource;
  NV_ENC_CREATE_BITSTREAM_BUFFER buffer{};
  buffer.version = NV_ENC_CREATE_BITSTREAM_BUFFER_VER;
  status = checkNvenc(driver->nvenc.nvEncCreateBitstreamBuffer(encoder, &buffer),
                      QVS_PLUGIN_CREATE_CODED_BUFFER, "nvEncCreateBitstreamBuffer");
  if (status == QVS_PLUGIN_OK) slot.coded = buffer.bitstreamBuffer;
  return status;
}

// Closing. What the driver answers is of no use any more: each thing is given back once, in any case.

void NvencSession::close() {
  if (driver == nullptr || home.context() == nullptr) return;
  {
    const CudaScope scope(*driver, home.context());
    for (const Slot& slot : slots) closeSlot(slot);
    slots.clear();
    if (encoder != nullptr) {
      driver->nvenc.nvEncDestroyEncoder(encoder);
      --sessionsInUse;
    }
    encoder = nullptr;
  }
  home.release();
  stream = nullptr;
}

void NvencSession::closeSlot(const Slot& slot) {
  if (slot.mapped != nullptr) driver->nvenc.nvEncUnmapInputResource(encoder, slot.mapped);
  if (slot.registered != nullptr) driver->nvenc.nvEncUnregisterResource(encoder, slot.registered);
  if (slot.coded != nullptr) driver->nvenc.nvEncDestroyBitstreamBuffer(encoder, slot.coded);
  if (slot.surface != 0) driver->cuda->cuMemFree(slot.surface);
}

// Pictures.

int32_t NvencSession::finish(int32_t status) {
  if (status != QVS_PLUGIN_OK) broken = problem;
  return status;
}

int32_t NvencSession::encode(const Picture& picture) {
  if (!broken.empty()) return fail(QVS_PLUGIN_INIT_ENCODER, "not taken after a failure of " + broken);
  if (submitted - collected == slots.size()) {
    return finish(fail(QVS_PLUGIN_INIT_ENCODER, "the encoder gives no pictures back"));
  }
  const CudaScope scope(*driver, home.context());
  int32_t status = checkCuda(scope.code(), QVS_PLUGIN_CREATE_CONTEXT, "cuCtxPushCurrent");
  if (status == QVS_PLUGIN_OK) status = submit(picture);
  const auto inCard = static_cast<uint64_t>(opened.asyncDepth - 1);
  while (status == QVS_PLUGIN_OK && ready - collected > inCard) status = collect();
  return finish(status);
}

int32_t NvencSession::copyIn(const Picture& picture, const Slot& slot) {
  const uint32_t width = setUp.parameters.encodeWidth;
  const uint32_t height = setUp.parameters.encodeHeight;
  const CUdeviceptr first = slot.surface + pitch * height;
  const CUdeviceptr second = first + pitch / 2 * (height / 2);
  const bool uFirst = format == NV_ENC_BUFFER_FORMAT_IYUV;
  const struct {
    const uint8_t* from;
    size_t fromPitch;
    CUdeviceptr to;
    uint32_t shift;
  } planes[] = {{picture.y, picture.stride, slot.surface, 0},
                {picture.u, picture.chromaStride, uFirst ? first : second, 1},
                {picture.v, picture.chromaStride, uFirst ? second : first, 1}};
  for (const auto& plane : planes) {
    CUDA_MEMCPY2D copy{};
    copy.srcMemoryType = picture.onDevice ? CU_MEMORYTYPE_DEVICE : CU_MEMORYTYPE_HOST;
    if (picture.onDevice) {
      copy.srcDevice = reinterpret_cast<CUdeviceptr>(plane.from);
    } else {
      copy.srcHost = plane.from;
    }
    copy.srcPitch = plane.fromPitch;
    copy.dstMemoryType = CU_MEMORYTYPE_DEVICE;
    copy.dstDevice = plane.to;
    copy.dstPitch = pitch >> plane.shift;
    copy.WidthInBytes = width >> plane.shift;
    copy.Height = height >> plane.shift;
    const int32_t status =
        checkCuda(driver->cuda->cuMemcpy2DAsync(&copy, stream), QVS_PLUGIN_INIT_ENCODER, "cuMemcpy2DAsync");
    if (status != QVS_PLUGIN_OK) return status;
  }
  // The picture is the caller's again when the call ends. One that comes out in this call has been read by then.
  const bool comesOut = opened.asyncDepth == 1 && opened.bFrames + opened.lookAhead == 0 && stream != nullptr;
  if (comesOut) return QVS_PLUGIN_OK;
  return checkCuda(driver->cuda->cuStreamSynchronize(stream), QVS_PLUGIN_INIT_ENCODER, "cuStreamSynchronize");
}

int32_t NvencSession::submit(const Picture& picture) {
  constexpr int32_t kStatus = QVS_PLUGIN_INIT_ENCODER;
  Slot& slot = slots[submitted % slots.size()];
  int32_t status = copyIn(picture, slot);
  if (status != QVS_PLUGIN_OK) return status;
  NV_ENC_MAP_INPUT_RESOURCE map{};
  map.version = NV_ENC_MAP_INPUT_RESOURCE_VER;
  map.registeredResource = slot.registered;
  status = checkNvenc(driver->nvenc.nvEncMapInputResource(encoder, &map), kStatus, "nvEncMapInputResource");
  if (status != QVS_PLUGIN_OK) return status;
  slot.mapped = map.mappedResource;

  NV_ENC_PIC_PARAMS parameters{};
  parameters.version = NV_ENC_PIC_PARAMS_VER;
  parameters.inputWidth = setUp.parameters.encodeWidth;
  parameters.inputHeight = setUp.parameters.encodeHeight;
  parameters.inputPitch = static_cast<uint32_t>(pitch);
  parameters.inputBuffer = slot.mapped;
  parameters.bufferFmt = map.mappedBufferFmt;
  parameters.outputBitstream = slot.coded;
  parameters.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
  parameters.inputTimeStamp = static_cast<uint64_t>(times.add(picture.timecode));
  if (picture.key) parameters.encodePicFlags = NV_ENC_PIC_FLAG_FORCEIDR | NV_ENC_PIC_FLAG_OUTPUT_SPSPPS;
  const NVENCSTATUS code = driver->nvenc.nvEncEncodePicture(encoder, &parameters);
  if (code != NV_ENC_SUCCESS && code != NV_ENC_ERR_NEED_MORE_INPUT) {
    return checkNvenc(code, kStatus, "nvEncEncodePicture");
  }
  ++submitted;
  if (code == NV_ENC_SUCCESS) ready = submitted;
  return QVS_PLUGIN_OK;
}

int32_t NvencSession::collect() {
  constexpr int32_t kStatus = QVS_PLUGIN_CREATE_CODED_BUFFER;
  Slot& slot = slots[collected % slots.size()];
  NV_ENC_LOCK_BITSTREAM lock{};
  lock.version = NV_ENC_LOCK_BITSTREAM_VER;
  lock.outputBitstream = slot.coded;
  int32_t status =
      checkNvenc(driver->nvenc.nvEncLockBitstream(encoder, &lock), kStatus, "nvEncLockBitstream");
  if (status != QVS_PLUGIN_OK) return status;
  FrameInfo info;
  if (lock.pictureType == NV_ENC_PIC_TYPE_IDR) info.frameType = QVS_FRAME_KEY;
  if (lock.pictureType == NV_ENC_PIC_TYPE_B || lock.pictureType == NV_ENC_PIC_TYPE_BI) {
    info.frameType = QVS_FRAME_BIDIRECTIONAL;
  }
  // A B picture that others refer to makes the order two deep.
  const int64_t depth = std::min<int64_t>(opened.bFrames, opened.bReference != 0 ? 2 : 1);
  times.fill(info, static_cast<int64_t>(lock.outputTimeStamp), static_cast<int64_t>(collected) - depth);
  const std::span bytes(static_cast<const uint8_t*>(lock.bitstreamBufferPtr), lock.bitstreamSizeInBytes);
  const bool kept = output.addAnnexB(info, bytes);
  status =
      checkNvenc(driver->nvenc.nvEncUnlockBitstream(encoder, slot.coded), kStatus, "nvEncUnlockBitstream");
  void* mapped = std::exchange(slot.mapped, nullptr);
  const NVENCSTATUS unmapped = driver->nvenc.nvEncUnmapInputResource(encoder, mapped);
  ++collected;
  if (!kept) return fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for a coded picture");
  if (status != QVS_PLUGIN_OK) return status;
  return checkNvenc(unmapped, kStatus, "nvEncUnmapInputResource");
}

int32_t NvencSession::drain() {
  if (!broken.empty()) return fail(QVS_PLUGIN_INIT_ENCODER, "not drained after a failure of " + broken);
  if (submitted == collected) return QVS_PLUGIN_OK;
  const CudaScope scope(*driver, home.context());
  int32_t status = checkCuda(scope.code(), QVS_PLUGIN_CREATE_CONTEXT, "cuCtxPushCurrent");
  if (status == QVS_PLUGIN_OK) {
    NV_ENC_PIC_PARAMS end{};
    end.version = NV_ENC_PIC_PARAMS_VER;
    end.encodePicFlags = NV_ENC_PIC_FLAG_EOS;
    status = checkNvenc(driver->nvenc.nvEncEncodePicture(encoder, &end), QVS_PLUGIN_INIT_ENCODER,
                        "nvEncEncodePicture (end)");
  }
  while (status == QVS_PLUGIN_OK && collected != submitted) status = collect();
  return finish(status);
}

int32_t NvencSession::changeBitRate(uint32_t bitsPerSecond) {
  if (!broken.empty()) return fail(QVS_PLUGIN_INIT_ENCODER, "not changed after a failure of " + broken);
  if (opened.rateControl == NvencSettings::kConstantQp) {
    return fail(QVS_PLUGIN_NO_VBR, "a constant quantizer has no bit rate to change");
  }
  if (opened.rateControl == NvencSettings::kCappedQuality && opened.vbvMaxRate != 0) {
    return fail(QVS_PLUGIN_NO_VBR, "the bit rate is not what caps this quality");
  }
  if (caps.changesBitRate == 0) return fail(QVS_PLUGIN_NO_VBR, "the card changes no bit rate while running");
  if (!setUp.storeRates(opened, bitsPerSecond, problem)) return QVS_PLUGIN_NO_VBR;
  NV_ENC_RECONFIGURE_PARAMS change{};
  change.version = NV_ENC_RECONFIGURE_PARAMS_VER;
  change.reInitEncodeParams = setUp.parameters;
  const CudaScope scope(*driver, home.context());
  return finish(checkNvenc(driver->nvenc.nvEncReconfigureEncoder(encoder, &change), QVS_PLUGIN_NO_VBR,
                           "nvEncReconfigureEncoder"));
}

}  // namespace qvs::nvenc
