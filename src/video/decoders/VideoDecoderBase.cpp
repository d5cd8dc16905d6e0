// What all video decoders share: the stream's description, spliced byte sequences, capture settings.
#include "video/decoders/VideoDecoderBase.h"

#include <algorithm>
#include <initializer_list>

#include "log/LogGlobalLogger.h"
#include "platform/ConcurrentLockFactory.h"

namespace qvs {

namespace {

std::unique_ptr<uint8_t[]> bytesOf(std::initializer_list<uint8_t> values) {
  auto bytes = std::make_unique<uint8_t[]>(values.size());
  std::copy(values.begin(), values.end(), bytes.get());
  return bytes;
}

}  // namespace

VideoDecoderBase::VideoDecoderBase()
    : headerBuffer(bytesOf({0, 0, 0, 1})),
      audKFrame(bytesOf({0, 0, 0, 1, 0x09, 0x10})),
      audBFrame(bytesOf({0, 0, 0, 1, 0x09, 0x50})),
      audPFrame(bytesOf({0, 0, 0, 1, 0x09, 0x30})),
      aud265KFrame(bytesOf({0, 0, 0, 1, 0x46, 0x01, 0x10})),
      aud265BFrame(bytesOf({0, 0, 0, 1, 0x46, 0x01, 0x50})),
      aud265PFrame(bytesOf({0, 0, 0, 1, 0x46, 0x01, 0x30})),
      lock(ConcurrentLockFactory::newConcurrentLock()) {}

VideoDecoderBase::~VideoDecoderBase() = default;

void VideoDecoderBase::setCodecAndVersion(uint32_t codecId, uint32_t version) {
  codec = codecId;
  codecVersion = version;
}

uint32_t VideoDecoderBase::setCaptureDevice(int32_t deviceId) {
  captureDeviceId = deviceId;
  return 0;
}

uint32_t VideoDecoderBase::decode(uint32_t*) {
  return 1;
}

uint32_t VideoDecoderBase::decode(uint32_t* flags, uint8_t) {
  return decode(flags);
}

void VideoDecoderBase::setNativePath(char*) {}

uint32_t VideoDecoderBase::setDecoderCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) {
  ScopedLock guard(*lock);
  decoderCaptureInfo = *info;
  return 0;
}

uint32_t VideoDecoderBase::getDecoderCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) {
  ScopedLock guard(*lock);
  *info = decoderCaptureInfo;
  return 0;
}

ILogger* VideoDecoderBase::getLogger() const {
  return loggerOrGlobal(logger);
}

}  // namespace qvs
