// libnvcuvid.so.1: the functions.
#include <cstring>
#include <mutex>
#include <set>

#include "CuvidDecoder.h"
#include "CuvidParser.h"

using qvs::fakes::Call;
using qvs::fakes::CuvidCodec;
using qvs::fakes::CuvidDecoder;
using qvs::fakes::CuvidParser;
using qvs::fakes::Driver;
using qvs::fakes::findCuvidCodec;
using Needs = Call::Needs;

struct _CUcontextlock_st {
  std::recursive_mutex mutex;
};

namespace {

std::mutex handlesLock;
std::set<const void*> handles;

void keep(const char* kind, const void* handle) {
  const std::lock_guard hold(handlesLock);
  handles.insert(handle);
  Driver::get().opened(kind);
}

bool isKept(const void* handle) {
  const std::lock_guard hold(handlesLock);
  return handles.contains(handle);
}

bool forget(const char* kind, const void* handle) {
  const std::lock_guard hold(handlesLock);
  if (handles.erase(handle) == 0) return false;
  Driver::get().closed(kind);
  return true;
}

bool isSupported(const CuvidCodec* codec, cudaVideoChromaFormat chroma, unsigned long deeper) {
  return codec != nullptr && chroma == cudaVideoChromaFormat_420 && deeper == 0;
}

/// Null where the handle or the current context isn't the decoder's.
CuvidDecoder* decoderOf(CUvideodecoder handle, const Call& call, CUresult* code) {
  auto* decoder = static_cast<CuvidDecoder*>(handle);
  *code = !isKept(handle)                    ? CUDA_ERROR_INVALID_HANDLE
          : decoder->owner() != call.context ? CUDA_ERROR_INVALID_CONTEXT
                                             : CUDA_SUCCESS;
  return *code == CUDA_SUCCESS ? decoder : nullptr;
}

}  // namespace

#define QVS_ENTER(...)          \
  const Call call(__VA_ARGS__); \
  if (call.code != CUDA_SUCCESS) return call.code

#define QVS_DECODER(name)                                       \
  QVS_ENTER(name);                                              \
  CUresult code = CUDA_SUCCESS;                                 \
  CuvidDecoder* const decoder = decoderOf(handle, call, &code); \
  if (decoder == nullptr) return code

QVS_API cuvidGetDecoderCaps(CUVIDDECODECAPS* caps) {
  QVS_ENTER("cuvidGetDecoderCaps");
  const bool supported =
      isSupported(findCuvidCodec(caps->eCodecType), caps->eChromaFormat, caps->nBitDepthMinus8);
  caps->bIsSupported = caps->nNumNVDECs = supported;
  caps->nOutputFormatMask = supported ? 1 << cudaVideoSurfaceFormat_NV12 : 0;
  caps->nMaxWidth = caps->nMaxHeight = supported ? 4096 : 0;
  caps->nMaxMBCount = supported ? 65536 : 0;
  caps->nMinWidth = supported ? 48 : 0;
  caps->nMinHeight = supported ? 16 : 0;
  return CUDA_SUCCESS;
}

QVS_API cuvidCreateDecoder(CUvideodecoder* handle, CUVIDDECODECREATEINFO* info) {
  QVS_ENTER("cuvidCreateDecoder");
  const CuvidCodec* codec = findCuvidCodec(info->CodecType);
  if (!isSupported(codec, info->ChromaFormat, info->bitDepthMinus8)) return CUDA_ERROR_NOT_SUPPORTED;
  if (info->OutputFormat != cudaVideoSurfaceFormat_NV12) return CUDA_ERROR_NOT_SUPPORTED;
  const bool sane = info->ulWidth >= 48 && info->ulHeight >= 16 && info->ulWidth <= 4096 &&
                    info->ulHeight <= 4096 && info->ulTargetWidth != 0 && info->ulTargetHeight != 0 &&
                    info->ulNumDecodeSurfaces != 0 && info->ulNumDecodeSurfaces <= 64;
  if (!sane) return CUDA_ERROR_INVALID_VALUE;
  auto decoder = std::make_unique<CuvidDecoder>(*info, *codec, call.context);
  if (!decoder->isOpen()) return CUDA_ERROR_OUT_OF_MEMORY;
  keep("decoder", decoder.get());
  *handle = decoder.release();
  return CUDA_SUCCESS;
}

QVS_API cuvidDestroyDecoder(CUvideodecoder handle) {
  const Call call("cuvidDestroyDecoder");
  if (!forget("decoder", handle)) return CUDA_ERROR_INVALID_HANDLE;
  delete static_cast<CuvidDecoder*>(handle);
  return call.code;
}

QVS_API cuvidDecodePicture(CUvideodecoder handle, CUVIDPICPARAMS* picture) {
  QVS_DECODER("cuvidDecodePicture");
  return decoder->decode(*picture);
}

QVS_API cuvidGetDecodeStatus(CUvideodecoder handle, int index, CUVIDGETDECODESTATUS* status) {
  QVS_DECODER("cuvidGetDecodeStatus");
  status->decodeStatus = decoder->hasPicture(index) ? cuvidDecodeStatus_Success : cuvidDecodeStatus_Error;
  return CUDA_SUCCESS;
}

QVS_API cuvidReconfigureDecoder(CUvideodecoder handle, CUVIDRECONFIGUREDECODERINFO* info) {
  QVS_DECODER("cuvidReconfigureDecoder");
  return decoder->reconfigure(*info);
}

QVS_API cuvidMapVideoFrame64(CUvideodecoder handle, int index, unsigned long long* pointer, unsigned* pitch,
                             CUVIDPROCPARAMS* parameters) {
  QVS_DECODER("cuvidMapVideoFrame64");
  return decoder->map(index, *parameters, pointer, pitch);
}

QVS_API cuvidUnmapVideoFrame64(CUvideodecoder handle, unsigned long long pointer) {
  const Call call("cuvidUnmapVideoFrame64");
  CUresult code = CUDA_SUCCESS;
  CuvidDecoder* const decoder = decoderOf(handle, call, &code);
  if (decoder != nullptr) code = decoder->unmap(pointer);
  return call.code != CUDA_SUCCESS ? call.code : code;
}

QVS_API cuvidCtxLockCreate(CUvideoctxlock* lock, CUcontext) {
  QVS_ENTER("cuvidCtxLockCreate", Needs::kInit);
  *lock = new _CUcontextlock_st;
  return CUDA_SUCCESS;
}

QVS_API cuvidCtxLockDestroy(CUvideoctxlock lock) {
  const Call call("cuvidCtxLockDestroy", Needs::kInit);
  delete lock;
  return call.code;
}

QVS_API cuvidCtxLock(CUvideoctxlock lock, unsigned) {
  lock->mutex.lock();
  return CUDA_SUCCESS;
}

QVS_API cuvidCtxUnlock(CUvideoctxlock lock, unsigned) {
  lock->mutex.unlock();
  return CUDA_SUCCESS;
}

QVS_API cuvidCreateVideoParser(CUvideoparser* handle, CUVIDPARSERPARAMS* parameters) {
  QVS_ENTER("cuvidCreateVideoParser", Needs::kInit);
  const CuvidCodec* codec = findCuvidCodec(parameters->CodecType);
  if (codec == nullptr) return CUDA_ERROR_NOT_SUPPORTED;
  if (parameters->ulMaxNumDecodeSurfaces == 0) return CUDA_ERROR_INVALID_VALUE;
  auto* parser = new CuvidParser(*parameters, *codec);
  keep("parser", parser);
  *handle = parser;
  return CUDA_SUCCESS;
}

QVS_API cuvidParseVideoData(CUvideoparser handle, CUVIDSOURCEDATAPACKET* packet) {
  QVS_ENTER("cuvidParseVideoData", Needs::kInit);
  return isKept(handle) ? static_cast<CuvidParser*>(handle)->parse(*packet) : CUDA_ERROR_INVALID_HANDLE;
}

QVS_API cuvidDestroyVideoParser(CUvideoparser handle) {
  const Call call("cuvidDestroyVideoParser", Needs::kInit);
  if (!forget("parser", handle)) return CUDA_ERROR_INVALID_HANDLE;
  delete static_cast<CuvidParser*>(handle);
  return call.code;
}

// Names that clients look up and that nobody here calls.
#define QVS_UNSUPPORTED(name)        \
  QVS_API name() {                   \
    return CUDA_ERROR_NOT_SUPPORTED; \
  }
QVS_UNSUPPORTED(cuvidMapVideoFrame)
QVS_UNSUPPORTED(cuvidUnmapVideoFrame)
QVS_UNSUPPORTED(cuvidCreateVideoSource)
QVS_UNSUPPORTED(cuvidCreateVideoSourceW)
QVS_UNSUPPORTED(cuvidDestroyVideoSource)
QVS_UNSUPPORTED(cuvidSetVideoSourceState)
QVS_UNSUPPORTED(cuvidGetVideoSourceState)
QVS_UNSUPPORTED(cuvidGetSourceVideoFormat)
QVS_UNSUPPORTED(cuvidGetSourceAudioFormat)
