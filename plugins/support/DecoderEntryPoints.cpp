// The exported functions of every decoder plug-in: what can be checked without the codec is checked here.
#include <qvs/video_decoder.h>

#include "DecoderSession.h"
#include "GiveText.h"
#include "Guard.h"

namespace qvs::plugins {
namespace {

constexpr uint32_t fourccOf(const char (&name)[5]) {
  uint32_t code = 0;
  for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<uint8_t>(name[i]);
  return code;
}

/// The session of a handle, with what the contract asks of it whatever the codec.
struct Held {
  std::unique_ptr<DecoderSession> decoder;
  uint32_t fourcc = fourccOf("YV12");
  bool open = false;
};

int32_t refuse(Held& held, int32_t status, const char* why) {
  held.decoder->problem = why;
  return status;
}

/// Runs `body(held)` where there is a session. No exception crosses the boundary.
template <typename Body>
int32_t with(void* session, Body body) {
  auto* held = static_cast<Held*>(session);
  if (held == nullptr) return QVS_PLUGIN_CREATE_DECODER;
  held->decoder->problem.clear();
  return guarded(held->decoder->problem, [&] { return body(*held); });
}

/// The same for the calls whose result is unsigned; they need an open decoder.
template <typename Body>
uint32_t withOpen(void* session, Body body) {
  return static_cast<uint32_t>(with(session, [&](Held& held) -> int32_t {
    if (!held.open) return refuse(held, QVS_PLUGIN_INIT_DECODER, "no initialize has succeeded");
    return body(*held.decoder);
  }));
}

/// A property of the stream or the picture, 0 where there is no session.
template <typename Value>
Value property(void* session, Value (*read)(const DecoderSession&)) {
  auto* held = static_cast<Held*>(session);
  return held == nullptr ? Value{} : read(*held->decoder);
}

template <typename Value>
void store(Value* to, Value value) {
  if (to != nullptr) *to = value;
}

/// Planes one behind the other, in the order of the fourcc. Frame sizes are even, so halves are exact.
PictureTarget targetAt(void* buffer, uint32_t stride, uint32_t height, bool vFirst) {
  PictureTarget target{};
  target.y = static_cast<uint8_t*>(buffer);
  target.stride = stride;
  target.chromaStride = stride / 2;
  uint8_t* first = target.y + uint64_t{stride} * height;
  uint8_t* second = first + uint64_t{target.chromaStride} * (height / 2);
  target.u = vFirst ? second : first;
  target.v = vFirst ? first : second;
  return target;
}

int32_t step(void* session, uint32_t* flags, bool flush) {
  if (flags == nullptr) return QVS_PLUGIN_ALLOCATE_BUFFER;
  *flags = 0;
  const auto status =
      withOpen(session, [&](DecoderSession& decoder) { return decoder.decode(*flags, flush); });
  if (status != QVS_PLUGIN_OK) *flags |= QVS_DECODE_ABORTED;
  return static_cast<int32_t>(status);
}

int32_t copyPicture(Held& held, void* buffer, uint32_t stride) {
  DecoderSession& decoder = *held.decoder;
  if (!held.open || !decoder.hasPicture())
    return refuse(held, QVS_PLUGIN_ALLOCATE_BUFFER, "no picture is ready");
  if (buffer == nullptr || stride < decoder.stream.frameWidth) {
    return refuse(held, QVS_PLUGIN_ALLOCATE_BUFFER, "rows shorter than the picture");
  }
  const bool vFirst = held.fourcc == fourccOf("YV12");
  if (!vFirst && held.fourcc != fourccOf("I420") && held.fourcc != fourccOf("IYUV")) {
    return refuse(held, QVS_PLUGIN_NO_COLOR_FORMAT, "pictures are handed out as YV12, I420 or IYUV");
  }
  return decoder.copyPicture(targetAt(buffer, stride, decoder.stream.frameHeight, vFirst));
}

}  // namespace
}  // namespace qvs::plugins

using namespace qvs::plugins;

extern "C" {

int32_t zarvoVideoDecoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  std::string problem;
  return guarded(problem, [&] {
    std::string text;
    uint32_t numbers[2] = {0, 0};
    const int32_t status = kDecoderPlugin.version(text, numbers[0], numbers[1]);
    store(major, numbers[0]);
    store(minor, numbers[1]);
    giveText(text, reinterpret_cast<char*>(buffer), bufferLen, nullptr);
    return status;
  });
}

int32_t zarvoVideoDecoder_describe(char* text, uint32_t size, uint32_t* needed) {
  std::string problem;
  return guarded(problem, [&] { return giveText(kDecoderPlugin.describe(), text, size, needed); });
}

int32_t zarvoVideoDecoder_getProblem(void* session, char* text, uint32_t size) {
  auto* held = static_cast<Held*>(session);
  return giveText(held != nullptr ? held->decoder->problem : "no session", text, size, nullptr);
}

int32_t zarvoVideoDecoder_create(void** session) {
  if (session == nullptr) return QVS_PLUGIN_CREATE_DECODER;
  *session = nullptr;
  std::string problem;
  return guarded(problem, [&]() -> int32_t {
    auto held = std::make_unique<Held>();
    held->decoder = kDecoderPlugin.make();
    *session = held.release();
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoDecoder_destroy(void* session) {
  delete static_cast<Held*>(session);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoDecoder_setGPUID(void* session, int32_t gpuid) {
  return with(session, [&](Held& held) -> int32_t {
    held.decoder->gpu = gpuid;
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoDecoder_initialize(void* session) {
  return with(session, [](Held& held) {
    held.open = false;
    const int32_t status = held.decoder->open();
    held.open = status == QVS_PLUGIN_OK;
    return status;
  });
}

int32_t zarvoVideoDecoder_close(void* session) {
  return with(session, [](Held& held) -> int32_t {
    held.open = false;
    held.decoder->close();
    return QVS_PLUGIN_OK;
  });
}

uint32_t zarvoVideoDecoder_getFrameWidth(void* session) {
  return property<uint32_t>(session, [](const DecoderSession& it) { return it.stream.frameWidth; });
}

uint32_t zarvoVideoDecoder_getFrameHeight(void* session) {
  return property<uint32_t>(session, [](const DecoderSession& it) { return it.stream.frameHeight; });
}

uint32_t zarvoVideoDecoder_getDisplayWidth(void* session) {
  return property<uint32_t>(session, [](const DecoderSession& it) { return it.stream.displayWidth; });
}

uint32_t zarvoVideoDecoder_getDisplayHeight(void* session) {
  return property<uint32_t>(session, [](const DecoderSession& it) { return it.stream.displayHeight; });
}

double zarvoVideoDecoder_getFrameRate(void* session) {
  return property<double>(session, [](const DecoderSession& it) { return it.stream.frameRate; });
}

uint32_t zarvoVideoDecoder_getDecodedFrameType(void* session) {
  return property<uint32_t>(session, [](const DecoderSession& it) { return it.picture.frameType; });
}

uint64_t zarvoVideoDecoder_getDecodedFrameTimecode(void* session) {
  return property<uint64_t>(session, [](const DecoderSession& it) { return it.picture.timecode; });
}

uint64_t zarvoVideoDecoder_getDecodedFrameFlags(void* session) {
  return property<uint64_t>(session, [](const DecoderSession& it) { return it.picture.flags; });
}

uint8_t zarvoVideoDecoder_isFrameDone(void* session) {
  return property<uint8_t>(session, [](const DecoderSession& it) -> uint8_t { return it.isDone() ? 1 : 0; });
}

uint8_t zarvoVideoDecoder_getDeinterlace(void* session) {
  return property<uint8_t>(session, [](const DecoderSession& it) { return it.deinterlace; });
}

void zarvoVideoDecoder_setDeinterlace(void* session, uint8_t deinterlace) {
  if (auto* held = static_cast<Held*>(session)) held->decoder->deinterlace = deinterlace;
}

void zarvoVideoDecoder_setFourcc(void* session, uint32_t fourcc) {
  if (auto* held = static_cast<Held*>(session)) held->fourcc = fourcc;
}

uint32_t zarvoVideoDecoder_decodeCodecConfig(void* session, uint8_t* buffer, uint32_t offset, uint32_t len) {
  return withOpen(session, [&](DecoderSession& decoder) -> int32_t {
    if (buffer == nullptr) return QVS_PLUGIN_PARSE_HEADER;
    return decoder.configure({buffer + offset, len});
  });
}

uint32_t zarvoVideoDecoder_addFrame(void* session, uint8_t* buffer, uint32_t offset, uint32_t len,
                                    uint64_t timecode, uint32_t) {
  return withOpen(session, [&](DecoderSession& decoder) -> int32_t {
    if (buffer == nullptr) return QVS_PLUGIN_ALLOCATE_BUFFER;
    return decoder.add({buffer + offset, len}, timecode);
  });
}

uint32_t zarvoVideoDecoder_decode(void* session, uint32_t* flags) {
  return static_cast<uint32_t>(step(session, flags, false));
}

uint32_t zarvoVideoDecoder_decode2(void* session, uint32_t* flags, uint8_t flush) {
  return static_cast<uint32_t>(step(session, flags, flush != 0));
}

uint32_t zarvoVideoDecoder_getDecodedFrameSize(void* session, uint32_t* frameWidth, uint32_t* frameHeight,
                                               uint32_t* displayWidth, uint32_t* displayHeight) {
  return static_cast<uint32_t>(with(session, [&](Held& held) -> int32_t {
    const StreamInfo& stream = held.decoder->stream;
    store(frameWidth, stream.frameWidth);
    store(frameHeight, stream.frameHeight);
    store(displayWidth, stream.displayWidth);
    store(displayHeight, stream.displayHeight);
    return QVS_PLUGIN_OK;
  }));
}

uint32_t zarvoVideoDecoder_getDecodedFrame(void* session, void* buffer, uint32_t stride, uint32_t* width,
                                           uint32_t* height, uint32_t* frameType, uint64_t* flags,
                                           uint64_t* timecode) {
  return static_cast<uint32_t>(with(session, [&](Held& held) {
    const int32_t status = copyPicture(held, buffer, stride);
    if (status != QVS_PLUGIN_OK) return status;
    const DecoderSession& decoder = *held.decoder;
    store(width, decoder.stream.displayWidth);
    store(height, decoder.stream.displayHeight);
    store(frameType, decoder.picture.frameType);
    store(flags, decoder.picture.flags);
    store(timecode, decoder.picture.timecode);
    return status;
  }));
}

uint32_t zarvoVideoDecoder_getFrameBuffer(void* session, PluginVideoBuffer* frame) {
  return withOpen(session, [&](DecoderSession& decoder) -> int32_t {
    if (frame == nullptr || !decoder.hasPicture()) return QVS_PLUGIN_ALLOCATE_BUFFER;
    *frame = {};
    frame->width = decoder.stream.frameWidth;
    frame->height = decoder.stream.frameHeight;
    frame->frameType = decoder.picture.frameType;
    frame->timecode = decoder.picture.timecode;
    frame->flags = decoder.picture.flags;
    decoder.showPicture(*frame);
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoDecoder_applyParameters(void* session) {
  return with(session, [](Held&) -> int32_t { return QVS_PLUGIN_OK; });
}

int32_t zarvoVideoDecoder_getParameterValueType(void* session, uint32_t key, uint32_t* arrayLength) {
  store(arrayLength, 0u);
  if (session == nullptr) return 0;
  return with(session, [&](Held& held) { return held.decoder->keyType(key); });
}

int32_t zarvoVideoDecoder_setParameterValueLong(void* session, uint32_t key, int64_t value) {
  return with(session, [&](Held& held) { return held.decoder->setKey(key, value); });
}

int32_t zarvoVideoDecoder_setParameterValueDouble(void* session, uint32_t key, double value) {
  return with(session, [&](Held& held) { return held.decoder->setKey(key, value); });
}

int32_t zarvoVideoDecoder_getParameterValueLong(void* session, uint32_t key, int64_t* value) {
  if (value == nullptr) return QVS_PLUGIN_OK;
  return with(session, [&](Held& held) { return held.decoder->getKey(key, value); });
}

int32_t zarvoVideoDecoder_getParameterValueDouble(void* session, uint32_t key, double* value) {
  if (value == nullptr) return QVS_PLUGIN_OK;
  return with(session, [&](Held& held) { return held.decoder->getKey(key, value); });
}
}
