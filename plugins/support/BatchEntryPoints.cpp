// The exported functions of every off-line plug-in: what can be checked without the codec is checked here.
#include <qvs/vod_transcoder.h>

#include "Batch.h"
#include "GiveText.h"
#include "Guard.h"

namespace qvs::plugins {
namespace {

struct BatchSession {
  FrameAllocator allocator;
  std::string problem;
};

/// Runs `body(session)` where there is one that can give bytes away. No exception crosses the boundary.
template <typename Body>
int32_t with(void* handle, Body body) {
  auto* session = static_cast<BatchSession*>(handle);
  if (session == nullptr || session->allocator.create == nullptr) return QVS_PLUGIN_CREATE_ALLOCATOR;
  return guarded(session->problem, [&] { return body(*session); });
}

/// An allocator of the first form takes nothing back: its arrays end with the host's call.
void keep(void*, void*) {}

}  // namespace
}  // namespace qvs::plugins

using namespace qvs::plugins;

extern "C" {

int32_t zarvoVODTranscoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  std::string problem;
  return guarded(problem, [&] {
    std::string text;
    uint32_t numbers[2] = {0, 0};
    const int32_t status = kBatchPlugin.version(text, numbers[0], numbers[1]);
    if (major != nullptr) *major = numbers[0];
    if (minor != nullptr) *minor = numbers[1];
    giveText(text, reinterpret_cast<char*>(buffer), bufferLen, nullptr);
    return status;
  });
}

int32_t zarvoVODTranscoder_create(void** session) {
  if (session == nullptr) return QVS_PLUGIN_CREATE_ENCODER;
  *session = nullptr;
  std::string problem;
  return guarded(problem, [&]() -> int32_t {
    *session = new BatchSession;
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVODTranscoder_destroy(void* session) {
  delete static_cast<BatchSession*>(session);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVODTranscoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                         QvsByteArrayFree release, QvsByteArrayLock lock,
                                         QvsByteArrayUnlock unlock) {
  if (session == nullptr || create == nullptr || lock == nullptr) return QVS_PLUGIN_CREATE_ALLOCATOR;
  static_cast<BatchSession*>(session)->allocator = {host, create, release != nullptr ? release : keep, lock,
                                                    unlock};
  return QVS_PLUGIN_OK;
}

int32_t zarvoVODTranscoder_setAllocator(void* session, void* host, QvsByteArrayNew create,
                                        QvsByteArrayLock lock, QvsByteArrayUnlock unlock) {
  return zarvoVODTranscoder_setAllocator2(session, host, create, nullptr, lock, unlock);
}

int32_t zarvoVODTranscoder_transcode(void* session, VODTranscoderVideoSettings* settings,
                                     VideoFrameEncodedData* in, uint32_t inCount, VideoFrameEncodedData* out,
                                     uint32_t* outCount) {
  if (settings == nullptr || out == nullptr || outCount == nullptr || (in == nullptr && inCount != 0)) {
    if (outCount != nullptr) *outCount = 0;
    return QVS_PLUGIN_CREATE_ENCODER;
  }
  const int32_t status = with(session, [&](BatchSession& held) {
    return Batch(*settings, held.allocator).transcode({in, inCount}, out, *outCount);
  });
  if (status != QVS_PLUGIN_OK) *outCount = 0;
  return status;
}

int32_t zarvoVODTranscoder_getCodecConfig(void* session, VODTranscoderVideoSettings* settings,
                                          VideoFrameEncodedData* frame) {
  if (settings == nullptr || frame == nullptr) return QVS_PLUGIN_CREATE_ENCODER;
  return with(session,
              [&](BatchSession& held) { return Batch(*settings, held.allocator).configure(*frame); });
}
}
