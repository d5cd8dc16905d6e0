// libnvidia-encode.so.1: the functions.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <mutex>

#include "NvencEncoder.h"

using qvs::fakes::Call;
using qvs::fakes::Driver;
using qvs::fakes::NvencEncoder;
using qvs::fakes::NvencInput;
using qvs::fakes::NvencOutput;

namespace {

std::mutex encodersLock;
std::set<const void*> encoders;

/// Major and minor of the newest interface that the driver has.
uint32_t newestApi() {
  return static_cast<uint32_t>(
      Driver::get().setting("api", NVENCAPI_MAJOR_VERSION << 4 | NVENCAPI_MINOR_VERSION));
}

/// The start of a call: its fault, then whether there is such an encoder on a card that lives.
struct Entry {
  NVENCSTATUS code;
  NvencEncoder* encoder;

  Entry(const char* name, void* handle, bool mustBeReady = true)
      : code(static_cast<NVENCSTATUS>(Call(name, Call::Needs::kNothing).code)),
        encoder(static_cast<NvencEncoder*>(handle)) {
    {
      const std::lock_guard hold(encodersLock);
      if (!encoders.contains(handle)) encoder = nullptr;
    }
    if (code != NV_ENC_SUCCESS) return;
    if (encoder == nullptr) {
      code = NV_ENC_ERR_INVALID_ENCODERDEVICE;
    } else if (!encoder->isUsable()) {
      code = NV_ENC_ERR_GENERIC;
    } else if (mustBeReady && !encoder->isInitialized()) {
      code = NV_ENC_ERR_ENCODER_NOT_INITIALIZED;
    }
  }
};

/// Does what `work()` says if the record is of the version that this was built for.
template <typename Record, typename Work>
NVENCSTATUS with(const Record* record, uint32_t version, Work work) {
  if (record == nullptr) return NV_ENC_ERR_INVALID_PTR;
  return record->version == version ? work() : NV_ENC_ERR_INVALID_VERSION;
}

/// Gives the first `room` of a list.
template <typename Item, size_t size>
NVENCSTATUS give(const Item (&items)[size], Item* to, uint32_t room, uint32_t* count) {
  *count = std::min(room, static_cast<uint32_t>(size));
  std::copy_n(items, *count, to);
  return NV_ENC_SUCCESS;
}

constexpr NV_ENC_BUFFER_FORMAT kFormats[] = {NV_ENC_BUFFER_FORMAT_NV12, NV_ENC_BUFFER_FORMAT_YV12,
                                             NV_ENC_BUFFER_FORMAT_IYUV};
const GUID kCodecs[] = {NV_ENC_CODEC_H264_GUID, NV_ENC_CODEC_HEVC_GUID};
constexpr struct {
  NV_ENC_CAPS cap;
  int value;
} kCaps[] = {{NV_ENC_CAPS_NUM_MAX_BFRAMES, 4},
             {NV_ENC_CAPS_SUPPORTED_RATECONTROL_MODES, 63},
             {NV_ENC_CAPS_SUPPORT_CABAC, 1},
             {NV_ENC_CAPS_SUPPORT_QPELMV, 1},
             {NV_ENC_CAPS_SUPPORT_ADAPTIVE_TRANSFORM, 1},
             {NV_ENC_CAPS_SUPPORT_BFRAME_REF_MODE, 3},
             {NV_ENC_CAPS_SUPPORT_LOOKAHEAD, 1},
             {NV_ENC_CAPS_SUPPORT_TEMPORAL_AQ, 1},
             {NV_ENC_CAPS_LEVEL_MIN, 10},
             {NV_ENC_CAPS_LEVEL_MAX, 62},
             {NV_ENC_CAPS_WIDTH_MIN, 145},
             {NV_ENC_CAPS_HEIGHT_MIN, 49},
             {NV_ENC_CAPS_WIDTH_MAX, 4096},
             {NV_ENC_CAPS_HEIGHT_MAX, 4096},
             {NV_ENC_CAPS_MB_NUM_MAX, 65536},
             {NV_ENC_CAPS_MB_PER_SEC_MAX, 983040},
             {NV_ENC_CAPS_SUPPORT_DYN_BITRATE_CHANGE, 1},
             {NV_ENC_CAPS_SUPPORT_CUSTOM_VBV_BUF_SIZE, 1},
             {NV_ENC_CAPS_NUM_ENCODER_ENGINES, 1}};

void fillPreset(NV_ENC_CONFIG& config, NV_ENC_TUNING_INFO tuning, bool hevc) {
  config = {};
  config.version = NV_ENC_CONFIG_VER;
  config.profileGUID = NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID;
  const bool quick =
      tuning == NV_ENC_TUNING_INFO_LOW_LATENCY || tuning == NV_ENC_TUNING_INFO_ULTRA_LOW_LATENCY;
  config.gopLength = quick ? NVENC_INFINITE_GOPLENGTH : 250;
  config.frameIntervalP = 1;
  config.frameFieldMode = NV_ENC_PARAMS_FRAME_FIELD_MODE_FRAME;
  config.mvPrecision = NV_ENC_MV_PRECISION_QUARTER_PEL;
  config.rcParams.version = NV_ENC_RC_PARAMS_VER;
  config.rcParams.rateControlMode = quick ? NV_ENC_PARAMS_RC_CBR : NV_ENC_PARAMS_RC_VBR;
  config.rcParams.averageBitRate = 2000000;
  config.rcParams.constQP = {28, 31, 25};
  if (hevc) {
    config.encodeCodecConfig.hevcConfig.idrPeriod = config.gopLength;
    config.encodeCodecConfig.hevcConfig.chromaFormatIDC = 1;
  } else {
    config.encodeCodecConfig.h264Config.idrPeriod = config.gopLength;
    config.encodeCodecConfig.h264Config.chromaFormatIDC = 1;
  }
}

template <typename Thing>
NVENCSTATUS destroy(const char* name, void* handle, std::set<Thing*> NvencEncoder::*things, void* thing,
                    const char* kind) {
  const Entry entry(name, handle, false);
  if (entry.encoder == nullptr) return entry.code;
  auto* typed = static_cast<Thing*>(thing);
  if ((entry.encoder->*things).erase(typed) == 0) return NV_ENC_ERR_INVALID_PTR;
  // Work on the way may still fill it.
  if constexpr (std::is_same_v<Thing, NvencOutput>) {
    if (typed->done.stream != nullptr) Driver::get().engine.wait(typed->done);
  }
  Driver::get().closed(kind);
  delete typed;
  return entry.code;
}

// Sessions

NVENCSTATUS openSession(const NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS& parameters, void** handle) {
  const uint32_t wanted = (parameters.apiVersion & 0xFF) << 4 | parameters.apiVersion >> 24;
  if (wanted > newestApi()) return NV_ENC_ERR_INVALID_VERSION;
  Driver& driver = Driver::get();
  const auto context = static_cast<CUcontext>(parameters.device);
  if (parameters.deviceType != NV_ENC_DEVICE_TYPE_CUDA || !driver.isLive(driver.contexts, context)) {
    return NV_ENC_ERR_INVALID_DEVICE;
  }
  if (context->dead != CUDA_SUCCESS) return NV_ENC_ERR_GENERIC;
  const std::lock_guard hold(encodersLock);
  if (static_cast<int64_t>(encoders.size()) >= driver.setting("sessions", 8)) return NV_ENC_ERR_OUT_OF_MEMORY;
  *handle = new NvencEncoder(context);
  encoders.insert(*handle);
  driver.opened("encoder");
  return NV_ENC_SUCCESS;
}

NVENCSTATUS openSessionEx(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* parameters, void** handle) {
  const Call call("nvEncOpenEncodeSessionEx", Call::Needs::kNothing);
  if (call.code != CUDA_SUCCESS) return static_cast<NVENCSTATUS>(call.code);
  return with(parameters, NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER,
              [&] { return openSession(*parameters, handle); });
}

NVENCSTATUS destroyEncoder(void* handle) {
  const Entry entry("nvEncDestroyEncoder", handle, false);
  if (entry.encoder == nullptr) return entry.code;
  {
    const std::lock_guard hold(encodersLock);
    encoders.erase(handle);
  }
  delete entry.encoder;
  Driver::get().closed("encoder");
  return entry.code != NV_ENC_ERR_GENERIC ? entry.code : NV_ENC_SUCCESS;
}

NVENCSTATUS initialize(NvencEncoder& encoder, const NV_ENC_INITIALIZE_PARAMS& parameters) {
  if (parameters.encodeConfig == nullptr) return NV_ENC_ERR_INVALID_PARAM;
  return with(parameters.encodeConfig, NV_ENC_CONFIG_VER, [&] { return encoder.initialize(parameters); });
}

NVENCSTATUS getHeaders(NvencEncoder& encoder, const NV_ENC_SEQUENCE_PARAM_PAYLOAD& payload) {
  const std::vector<uint8_t> headers = encoder.headers();
  if (payload.inBufferSize < headers.size()) return NV_ENC_ERR_NOT_ENOUGH_BUFFER;
  std::copy(headers.begin(), headers.end(), static_cast<uint8_t*>(payload.spsppsBuffer));
  *payload.outSPSPPSPayloadSize = static_cast<uint32_t>(headers.size());
  return NV_ENC_SUCCESS;
}

NVENCSTATUS capOf(NV_ENC_CAPS cap, int* value) {
  const auto* found =
      std::find_if(std::begin(kCaps), std::end(kCaps), [&](const auto& row) { return row.cap == cap; });
  *value = found != std::end(kCaps) ? found->value : 0;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS presetOf(const GUID& codec, NV_ENC_TUNING_INFO tuning, NV_ENC_CONFIG& config) {
  if (config.version != NV_ENC_CONFIG_VER) return NV_ENC_ERR_INVALID_VERSION;
  fillPreset(config, tuning, std::memcmp(&codec, &NV_ENC_CODEC_HEVC_GUID, sizeof(codec)) == 0);
  return NV_ENC_SUCCESS;
}

// Pictures

bool isFormat(NV_ENC_BUFFER_FORMAT format) {
  return std::find(std::begin(kFormats), std::end(kFormats), format) != std::end(kFormats);
}

template <typename Thing>
NVENCSTATUS keep(std::set<Thing*>& things, const char* kind, Thing&& thing, void** handle) {
  auto* kept = new Thing(std::move(thing));
  things.insert(kept);
  Driver::get().opened(kind);
  *handle = kept;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS createInput(NvencEncoder& encoder, NV_ENC_CREATE_INPUT_BUFFER& buffer) {
  if (!isFormat(buffer.bufferFmt)) return NV_ENC_ERR_UNSUPPORTED_PARAM;
  NvencInput input{buffer.width, buffer.height, (buffer.width + 63) / 64 * 64, buffer.bufferFmt, 0, {}};
  input.bytes.resize(NvencInput::size(input.pitch, input.height));
  return keep(encoder.inputs, "input", std::move(input), &buffer.inputBuffer);
}

NVENCSTATUS lockInput(NvencEncoder& encoder, NV_ENC_LOCK_INPUT_BUFFER& lock) {
  auto* input = static_cast<NvencInput*>(lock.inputBuffer);
  if (!encoder.inputs.contains(input) || input->pointer != 0) return NV_ENC_ERR_INVALID_PTR;
  lock.bufferDataPtr = input->bytes.data();
  lock.pitch = input->pitch;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS registerResource(NvencEncoder& encoder, NV_ENC_REGISTER_RESOURCE& resource) {
  if (resource.resourceType != NV_ENC_INPUT_RESOURCE_TYPE_CUDADEVICEPTR || !isFormat(resource.bufferFormat)) {
    return NV_ENC_ERR_UNSUPPORTED_PARAM;
  }
  const auto pointer = reinterpret_cast<uint64_t>(resource.resourceToRegister);
  if (resource.pitch < resource.width || resource.pitch % 4 != 0) return NV_ENC_ERR_INVALID_PARAM;
  if (!Driver::get().memory.holds(pointer, NvencInput::size(resource.pitch, resource.height))) {
    return NV_ENC_ERR_RESOURCE_REGISTER_FAILED;
  }
  NvencInput input{resource.width, resource.height, resource.pitch, resource.bufferFormat, pointer, {}};
  return keep(encoder.inputs, "resource", std::move(input), &resource.registeredResource);
}

NVENCSTATUS mapResource(NvencEncoder& encoder, NV_ENC_MAP_INPUT_RESOURCE& map) {
  auto* input = static_cast<NvencInput*>(map.registeredResource);
  if (!encoder.inputs.contains(input) || input->pointer == 0) return NV_ENC_ERR_RESOURCE_NOT_REGISTERED;
  ++input->mapped;
  map.mappedResource = input;
  map.mappedBufferFmt = input->format;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS unmapResource(void* handle, void* resource) {
  const Entry entry("nvEncUnmapInputResource", handle);
  if (entry.encoder == nullptr) return entry.code;
  auto* input = static_cast<NvencInput*>(resource);
  if (!entry.encoder->inputs.contains(input) || input->mapped == 0) return NV_ENC_ERR_RESOURCE_NOT_MAPPED;
  --input->mapped;
  return entry.code;
}

NVENCSTATUS lockBitstream(NvencEncoder& encoder, NV_ENC_LOCK_BITSTREAM& lock) {
  const NVENCSTATUS code = encoder.lock(lock);
  return code == NV_ENC_SUCCESS && !encoder.isUsable() ? NV_ENC_ERR_GENERIC : code;
}

const char* lastError(void*) {
  return "";
}

// Member of the list, whether the encoder must be initialized, parameters behind the session, answer. Those with one
// record: its type and version.
// clang-format off
#define QVS_CALLS(X)                                                                                                \
  X(nvEncGetEncodeGUIDCount, false, (void* handle, uint32_t* count), (*count = std::size(kCodecs), NV_ENC_SUCCESS)) \
  X(nvEncGetEncodeGUIDs, false, (void* handle, GUID* to, uint32_t room, uint32_t* count), give(kCodecs, to, room, count)) \
  X(nvEncGetInputFormats, false, (void* handle, GUID, NV_ENC_BUFFER_FORMAT* to, uint32_t room, uint32_t* count),    \
    give(kFormats, to, room, count))                                                                                \
  X(nvEncGetEncodeCaps, false, (void* handle, GUID, NV_ENC_CAPS_PARAM* record, int* value),                         \
    with(record, NV_ENC_CAPS_PARAM_VER, [&] { return capOf(record->capsToQuery, value); }))                         \
  X(nvEncGetEncodePresetConfigEx, false, (void* handle, GUID codec, GUID, NV_ENC_TUNING_INFO tuning, NV_ENC_PRESET_CONFIG* record), \
    with(record, NV_ENC_PRESET_CONFIG_VER, [&] { return presetOf(codec, tuning, record->presetCfg); }))             \
  X(nvEncSetIOCudaStreams, true, (void* handle, NV_ENC_CUSTREAM_PTR input, NV_ENC_CUSTREAM_PTR), input == nullptr ?  \
    NV_ENC_ERR_INVALID_PTR : entry.encoder->setInputStream(*static_cast<CUstream*>(input)))                         \
  X(nvEncUnlockInputBuffer, true, (void* handle, void*), NV_ENC_SUCCESS)                                            \
  X(nvEncUnlockBitstream, true, (void* handle, void*), NV_ENC_SUCCESS)

#define QVS_RECORDS(X)                                                                                              \
  X(nvEncInitializeEncoder, false, NV_ENC_INITIALIZE_PARAMS, initialize(*entry.encoder, *record))                   \
  X(nvEncReconfigureEncoder, true, NV_ENC_RECONFIGURE_PARAMS, entry.encoder->reconfigure(*record))                  \
  X(nvEncGetSequenceParams, true, NV_ENC_SEQUENCE_PARAM_PAYLOAD, getHeaders(*entry.encoder, *record))               \
  X(nvEncCreateInputBuffer, true, NV_ENC_CREATE_INPUT_BUFFER, createInput(*entry.encoder, *record))                 \
  X(nvEncLockInputBuffer, true, NV_ENC_LOCK_INPUT_BUFFER, lockInput(*entry.encoder, *record))                       \
  X(nvEncRegisterResource, true, NV_ENC_REGISTER_RESOURCE, registerResource(*entry.encoder, *record))               \
  X(nvEncMapInputResource, true, NV_ENC_MAP_INPUT_RESOURCE, mapResource(*entry.encoder, *record))                   \
  X(nvEncCreateBitstreamBuffer, true, NV_ENC_CREATE_BITSTREAM_BUFFER,                                               \
    keep(entry.encoder->outputs, "bitstream", NvencOutput(), &record->bitstreamBuffer))                             \
  X(nvEncEncodePicture, true, NV_ENC_PIC_PARAMS, entry.encoder->encode(*record))                                    \
  X(nvEncLockBitstream, true, NV_ENC_LOCK_BITSTREAM, lockBitstream(*entry.encoder, *record))

#define QVS_DESTROYS(X)                                                                     \
  X(nvEncDestroyInputBuffer, inputs, "input") X(nvEncUnregisterResource, inputs, "resource") \
  X(nvEncDestroyBitstreamBuffer, outputs, "bitstream")

#define QVS_CALL(name, ready, parameters, answer)                 \
  NVENCSTATUS name parameters {                                   \
    const Entry entry(#name, handle, ready);                      \
    return entry.code == NV_ENC_SUCCESS ? (answer) : entry.code;  \
  }
#define QVS_RECORD(name, ready, type, answer) \
  QVS_CALL(name, ready, (void* handle, type* record), with(record, type##_VER, [&] { return answer; }))
#define QVS_DESTROY(name, things, kind)                             \
  NVENCSTATUS name(void* handle, void* thing) {                     \
    return destroy(#name, handle, &NvencEncoder::things, thing, kind); \
  }
// clang-format on

QVS_CALLS(QVS_CALL)
QVS_RECORDS(QVS_RECORD)
QVS_DESTROYS(QVS_DESTROY)

}  // namespace

extern "C" QVS_EXPORT NVENCSTATUS NvEncodeAPIGetMaxSupportedVersion(uint32_t* version) {
  const Call call("NvEncodeAPIGetMaxSupportedVersion", Call::Needs::kNothing);
  *version = newestApi();
  return static_cast<NVENCSTATUS>(call.code);
}

extern "C" QVS_EXPORT NVENCSTATUS NvEncodeAPICreateInstance(NV_ENCODE_API_FUNCTION_LIST* list) {
  const Call call("NvEncodeAPICreateInstance", Call::Needs::kNothing);
  if (call.code != CUDA_SUCCESS) return static_cast<NVENCSTATUS>(call.code);
  return with(list, NV_ENCODE_API_FUNCTION_LIST_VER, [&] {
    *list = {};
    list->version = NV_ENCODE_API_FUNCTION_LIST_VER;
#define QVS_SET(name, ...) list->name = &name;
    QVS_CALLS(QVS_SET)
    QVS_RECORDS(QVS_SET)
    QVS_DESTROYS(QVS_SET)
#undef QVS_SET
    list->nvEncOpenEncodeSessionEx = &openSessionEx;
    list->nvEncDestroyEncoder = &destroyEncoder;
    list->nvEncUnmapInputResource = &unmapResource;
    list->nvEncGetLastErrorString = &lastError;
    return NV_ENC_SUCCESS;
  });
}
