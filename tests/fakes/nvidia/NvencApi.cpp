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

#define QVS_ENTER(...)            \
  const Entry entry(__VA_ARGS__); \
  if (entry.code != NV_ENC_SUCCESS) return entry.code

#define QVS_VERSION(record, wanted)                       \
  if ((record) == nullptr) return NV_ENC_ERR_INVALID_PTR; \
  if ((record)->version != (wanted)) return NV_ENC_ERR_INVALID_VERSION

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

NVENCSTATUS openSessionEx(NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS* parameters, void** handle) {
  const Call call("nvEncOpenEncodeSessionEx", Call::Needs::kNothing);
  if (call.code != CUDA_SUCCESS) return static_cast<NVENCSTATUS>(call.code);
  QVS_VERSION(parameters, NV_ENC_OPEN_ENCODE_SESSION_EX_PARAMS_VER);
  const uint32_t wanted = (parameters->apiVersion & 0xFF) << 4 | parameters->apiVersion >> 24;
  if (wanted > newestApi()) return NV_ENC_ERR_INVALID_VERSION;
  Driver& driver = Driver::get();
  const auto context = static_cast<CUcontext>(parameters->device);
  if (parameters->deviceType != NV_ENC_DEVICE_TYPE_CUDA || !driver.isLive(driver.contexts, context)) {
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

NVENCSTATUS initializeEncoder(void* handle, NV_ENC_INITIALIZE_PARAMS* parameters) {
  QVS_ENTER("nvEncInitializeEncoder", handle, false);
  QVS_VERSION(parameters, NV_ENC_INITIALIZE_PARAMS_VER);
  if (parameters->encodeConfig != nullptr) QVS_VERSION(parameters->encodeConfig, NV_ENC_CONFIG_VER);
  return entry.encoder->initialize(*parameters);
}

NVENCSTATUS reconfigureEncoder(void* handle, NV_ENC_RECONFIGURE_PARAMS* parameters) {
  QVS_ENTER("nvEncReconfigureEncoder", handle);
  QVS_VERSION(parameters, NV_ENC_RECONFIGURE_PARAMS_VER);
  return entry.encoder->reconfigure(*parameters);
}

NVENCSTATUS setIoCudaStreams(void* handle, NV_ENC_CUSTREAM_PTR input, NV_ENC_CUSTREAM_PTR) {
  QVS_ENTER("nvEncSetIOCudaStreams", handle);
  return input != nullptr ? entry.encoder->setInputStream(*static_cast<CUstream*>(input))
                          : NV_ENC_ERR_INVALID_PTR;
}

NVENCSTATUS getSequenceParams(void* handle, NV_ENC_SEQUENCE_PARAM_PAYLOAD* payload) {
  QVS_ENTER("nvEncGetSequenceParams", handle);
  QVS_VERSION(payload, NV_ENC_SEQUENCE_PARAM_PAYLOAD_VER);
  const std::vector<uint8_t> headers = entry.encoder->headers();
  if (payload->inBufferSize < headers.size()) return NV_ENC_ERR_NOT_ENOUGH_BUFFER;
  std::copy(headers.begin(), headers.end(), static_cast<uint8_t*>(payload->spsppsBuffer));
  *payload->outSPSPPSPayloadSize = static_cast<uint32_t>(headers.size());
  return NV_ENC_SUCCESS;
}

// What the card can do

NVENCSTATUS guidCount(void* handle, uint32_t* count) {
  QVS_ENTER("nvEncGetEncodeGUIDCount", handle, false);
  *count = std::size(kCodecs);
  return NV_ENC_SUCCESS;
}

NVENCSTATUS guids(void* handle, GUID* to, uint32_t room, uint32_t* count) {
  QVS_ENTER("nvEncGetEncodeGUIDs", handle, false);
  return give(kCodecs, to, room, count);
}

NVENCSTATUS formats(void* handle, GUID, NV_ENC_BUFFER_FORMAT* to, uint32_t room, uint32_t* count) {
  QVS_ENTER("nvEncGetInputFormats", handle, false);
  return give(kFormats, to, room, count);
}

NVENCSTATUS caps(void* handle, GUID, NV_ENC_CAPS_PARAM* parameter, int* value) {
  QVS_ENTER("nvEncGetEncodeCaps", handle, false);
  QVS_VERSION(parameter, NV_ENC_CAPS_PARAM_VER);
  const auto* found = std::find_if(std::begin(kCaps), std::end(kCaps),
                                   [&](const auto& row) { return row.cap == parameter->capsToQuery; });
  *value = found != std::end(kCaps) ? found->value : 0;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS presetConfigEx(void* handle, GUID codec, GUID, NV_ENC_TUNING_INFO tuning,
                           NV_ENC_PRESET_CONFIG* config) {
  QVS_ENTER("nvEncGetEncodePresetConfigEx", handle, false);
  QVS_VERSION(config, NV_ENC_PRESET_CONFIG_VER);
  if (config->presetCfg.version != NV_ENC_CONFIG_VER) return NV_ENC_ERR_INVALID_VERSION;
  fillPreset(config->presetCfg, tuning, std::memcmp(&codec, &NV_ENC_CODEC_HEVC_GUID, sizeof(codec)) == 0);
  return NV_ENC_SUCCESS;
}

// Pictures

bool isFormat(NV_ENC_BUFFER_FORMAT format) {
  return std::find(std::begin(kFormats), std::end(kFormats), format) != std::end(kFormats);
}

NVENCSTATUS keepInput(NvencEncoder& encoder, const char* kind, NvencInput&& input, void** handle) {
  auto* kept = new NvencInput(std::move(input));
  encoder.inputs.insert(kept);
  Driver::get().opened(kind);
  *handle = kept;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS createInput(void* handle, NV_ENC_CREATE_INPUT_BUFFER* buffer) {
  QVS_ENTER("nvEncCreateInputBuffer", handle);
  QVS_VERSION(buffer, NV_ENC_CREATE_INPUT_BUFFER_VER);
  if (!isFormat(buffer->bufferFmt)) return NV_ENC_ERR_UNSUPPORTED_PARAM;
  NvencInput input{buffer->width, buffer->height, (buffer->width + 63) / 64 * 64, buffer->bufferFmt, 0, {}};
  input.bytes.resize(NvencInput::size(input.pitch, input.height));
  return keepInput(*entry.encoder, "input", std::move(input), &buffer->inputBuffer);
}

NVENCSTATUS destroyInput(void* handle, void* input) {
  return destroy("nvEncDestroyInputBuffer", handle, &NvencEncoder::inputs, input, "input");
}

NVENCSTATUS lockInput(void* handle, NV_ENC_LOCK_INPUT_BUFFER* lock) {
  QVS_ENTER("nvEncLockInputBuffer", handle);
  QVS_VERSION(lock, NV_ENC_LOCK_INPUT_BUFFER_VER);
  auto* input = static_cast<NvencInput*>(lock->inputBuffer);
  if (!entry.encoder->inputs.contains(input) || input->pointer != 0) return NV_ENC_ERR_INVALID_PTR;
  lock->bufferDataPtr = input->bytes.data();
  lock->pitch = input->pitch;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS unlockInput(void* handle, void*) {
  QVS_ENTER("nvEncUnlockInputBuffer", handle);
  return NV_ENC_SUCCESS;
}

NVENCSTATUS registerResource(void* handle, NV_ENC_REGISTER_RESOURCE* resource) {
  QVS_ENTER("nvEncRegisterResource", handle);
  QVS_VERSION(resource, NV_ENC_REGISTER_RESOURCE_VER);
  if (resource->resourceType != NV_ENC_INPUT_RESOURCE_TYPE_CUDADEVICEPTR ||
      !isFormat(resource->bufferFormat)) {
    return NV_ENC_ERR_UNSUPPORTED_PARAM;
  }
  const auto pointer = reinterpret_cast<uint64_t>(resource->resourceToRegister);
  if (resource->pitch < resource->width || resource->pitch % 4 != 0) return NV_ENC_ERR_INVALID_PARAM;
  if (!Driver::get().memory.holds(pointer, NvencInput::size(resource->pitch, resource->height))) {
    return NV_ENC_ERR_RESOURCE_REGISTER_FAILED;
  }
  return keepInput(*entry.encoder, "resource",
                   {resource->width, resource->height, resource->pitch, resource->bufferFormat, pointer, {}},
                   &resource->registeredResource);
}

NVENCSTATUS unregisterResource(void* handle, void* resource) {
  return destroy("nvEncUnregisterResource", handle, &NvencEncoder::inputs, resource, "resource");
}

NVENCSTATUS mapResource(void* handle, NV_ENC_MAP_INPUT_RESOURCE* map) {
  QVS_ENTER("nvEncMapInputResource", handle);
  QVS_VERSION(map, NV_ENC_MAP_INPUT_RESOURCE_VER);
  auto* input = static_cast<NvencInput*>(map->registeredResource);
  if (!entry.encoder->inputs.contains(input) || input->pointer == 0)
    return NV_ENC_ERR_RESOURCE_NOT_REGISTERED;
  ++input->mapped;
  map->mappedResource = input;
  map->mappedBufferFmt = input->format;
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

NVENCSTATUS createBitstream(void* handle, NV_ENC_CREATE_BITSTREAM_BUFFER* buffer) {
  QVS_ENTER("nvEncCreateBitstreamBuffer", handle);
  QVS_VERSION(buffer, NV_ENC_CREATE_BITSTREAM_BUFFER_VER);
  auto* output = new NvencOutput;
  entry.encoder->outputs.insert(output);
  Driver::get().opened("bitstream");
  buffer->bitstreamBuffer = output;
  return NV_ENC_SUCCESS;
}

NVENCSTATUS destroyBitstream(void* handle, void* output) {
  return destroy("nvEncDestroyBitstreamBuffer", handle, &NvencEncoder::outputs, output, "bitstream");
}

NVENCSTATUS encodePicture(void* handle, NV_ENC_PIC_PARAMS* picture) {
  QVS_ENTER("nvEncEncodePicture", handle);
  QVS_VERSION(picture, NV_ENC_PIC_PARAMS_VER);
  return entry.encoder->encode(*picture);
}

NVENCSTATUS lockBitstream(void* handle, NV_ENC_LOCK_BITSTREAM* lock) {
  QVS_ENTER("nvEncLockBitstream", handle);
  QVS_VERSION(lock, NV_ENC_LOCK_BITSTREAM_VER);
  const NVENCSTATUS code = entry.encoder->lock(*lock);
  return code == NV_ENC_SUCCESS && !entry.encoder->isUsable() ? NV_ENC_ERR_GENERIC : code;
}

NVENCSTATUS unlockBitstream(void* handle, void*) {
  QVS_ENTER("nvEncUnlockBitstream", handle);
  return NV_ENC_SUCCESS;
}

const char* lastError(void*) {
  return "";
}

}  // namespace

extern "C" QVS_EXPORT NVENCSTATUS NvEncodeAPIGetMaxSupportedVersion(uint32_t* version) {
  const Call call("NvEncodeAPIGetMaxSupportedVersion", Call::Needs::kNothing);
  *version = newestApi();
  return static_cast<NVENCSTATUS>(call.code);
}

extern "C" QVS_EXPORT NVENCSTATUS NvEncodeAPICreateInstance(NV_ENCODE_API_FUNCTION_LIST* list) {
  const Call call("NvEncodeAPICreateInstance", Call::Needs::kNothing);
  if (call.code != CUDA_SUCCESS) return static_cast<NVENCSTATUS>(call.code);
  QVS_VERSION(list, NV_ENCODE_API_FUNCTION_LIST_VER);
  *list = {};
  list->version = NV_ENCODE_API_FUNCTION_LIST_VER;
  list->nvEncOpenEncodeSessionEx = &openSessionEx;
  list->nvEncDestroyEncoder = &destroyEncoder;
  list->nvEncInitializeEncoder = &initializeEncoder;
  list->nvEncReconfigureEncoder = &reconfigureEncoder;
  list->nvEncSetIOCudaStreams = &setIoCudaStreams;
  list->nvEncGetSequenceParams = &getSequenceParams;
  list->nvEncGetEncodeGUIDCount = &guidCount;
  list->nvEncGetEncodeGUIDs = &guids;
  list->nvEncGetInputFormats = &formats;
  list->nvEncGetEncodeCaps = &caps;
  list->nvEncGetEncodePresetConfigEx = &presetConfigEx;
  list->nvEncCreateInputBuffer = &createInput;
  list->nvEncDestroyInputBuffer = &destroyInput;
  list->nvEncLockInputBuffer = &lockInput;
  list->nvEncUnlockInputBuffer = &unlockInput;
  list->nvEncRegisterResource = &registerResource;
  list->nvEncUnregisterResource = &unregisterResource;
  list->nvEncMapInputResource = &mapResource;
  list->nvEncUnmapInputResource = &unmapResource;
  list->nvEncCreateBitstreamBuffer = &createBitstream;
  list->nvEncDestroyBitstreamBuffer = &destroyBitstream;
  list->nvEncEncodePicture = &encodePicture;
  list->nvEncLockBitstream = &lockBitstream;
  list->nvEncUnlockBitstream = &unlockBitstream;
  list->nvEncGetLastErrorString = &lastError;
  return NV_ENC_SUCCESS;
}
