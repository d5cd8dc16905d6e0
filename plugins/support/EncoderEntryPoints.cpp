// The exported functions of every encoder plug-in: what can be checked without the codec is checked here.
#include <qvs/video_encoder.h>

#include "EncoderEntry.h"
#include "GiveText.h"

namespace qvs::plugins {

namespace {

constexpr uint32_t kMaxSide = 16384;

/// A setting that an open encoder takes no more.
template <typename Body>
int32_t setting(void* session, Body body) {
  return with(session, [&](Held& held) -> int32_t {
    body(held.encoder->common);
    return QVS_PLUGIN_OK;
  });
}

bool complete(const OutputArrays& out) {
  return out.frames != nullptr && out.sizes != nullptr && out.frameTypes != nullptr &&
         out.timecodes != nullptr && out.timecodeOffsets != nullptr && out.count != nullptr;
}

}  // namespace

int32_t addPicture(Held& held, const Picture& picture) {
  EncoderSession& encoder = *held.encoder;
  const CommonSettings& common = encoder.common;
  if (!held.open) return refuse(encoder, QVS_PLUGIN_INIT_ENCODER, "no initialize has succeeded");
  if (held.ended) return refuse(encoder, QVS_PLUGIN_INIT_ENCODER, "a picture after drain");
  if (picture.y == nullptr) return refuse(encoder, QVS_PLUGIN_ALLOCATE_BUFFER, "no picture");
  if (picture.width != common.width || picture.height != common.height || picture.stride < picture.width) {
    return refuse(encoder, QVS_PLUGIN_INIT_ENCODER, "a picture of another size than was set");
  }
  return encoder.encode(picture);
}

}  // namespace qvs::plugins

using namespace qvs::plugins;

extern "C" {

int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  std::string problem;
  return guarded(problem, [&] {
    std::string text;
    uint32_t numbers[2] = {0, 0};
    const int32_t status = kEncoderPlugin.version(text, numbers[0], numbers[1]);
    if (major != nullptr) *major = numbers[0];
    if (minor != nullptr) *minor = numbers[1];
    giveText(text, reinterpret_cast<char*>(buffer), bufferLen, nullptr);
    return status;
  });
}

int32_t zarvoVideoEncoder_describe(char* text, uint32_t size, uint32_t* needed) {
  std::string problem;
  return guarded(problem, [&] { return giveText(kEncoderPlugin.describe(), text, size, needed); });
}

int32_t zarvoVideoEncoder_getProblem(void* session, char* text, uint32_t size) {
  auto* held = static_cast<Held*>(session);
  return giveText(held != nullptr ? held->encoder->problem : "no session", text, size, nullptr);
}

int32_t zarvoVideoEncoder_create(void** session) {
  if (session == nullptr) return QVS_PLUGIN_CREATE_ENCODER;
  *session = nullptr;
  std::string problem;
  return guarded(problem, [&]() -> int32_t {
    auto held = std::make_unique<Held>();
    held->encoder = kEncoderPlugin.make();
    *session = held.release();
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoEncoder_destroy(void* session) {
  delete static_cast<Held*>(session);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setAllocator(void* session, void* host, QvsByteArrayNew create,
                                       QvsByteArrayLock lock, QvsByteArrayUnlock unlock) {
  return zarvoVideoEncoder_setAllocator2(session, host, create, nullptr, lock, unlock);
}

int32_t zarvoVideoEncoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                        QvsByteArrayFree release, QvsByteArrayLock lock,
                                        QvsByteArrayUnlock unlock) {
  return with(session, [&](Held& held) -> int32_t {
    held.encoder->output.setAllocator({host, create, release, lock, unlock});
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoEncoder_setGPUID(void* session, int32_t gpuid) {
  return setting(session, [&](CommonSettings& common) { common.gpu = gpuid; });
}

int32_t zarvoVideoEncoder_setDefaults(void* session, int32_t, int32_t) {
  return setting(session, [](CommonSettings&) {});
}

int32_t zarvoVideoEncoder_setCodecAndVersion(void* session, uint32_t codec, uint32_t codecVersion) {
  return setting(session, [&](CommonSettings& common) {
    common.codec = codec;
    common.codecVersion = codecVersion;
  });
}

int32_t zarvoVideoEncoder_createDone(void* session) {
  return setting(session, [](CommonSettings&) {});
}

int32_t zarvoVideoEncoder_setFrameSize(void* session, uint32_t width, uint32_t height) {
  return with(session, [&](Held& held) -> int32_t {
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide) {
      return refuse(*held.encoder, QVS_PLUGIN_INIT_ENCODER, "a frame size outside 1 to 16384");
    }
    CommonSettings& common = held.encoder->common;
    // An open encoder would read pictures of the new size by the old one.
    held.open = held.open && common.width == width && common.height == height;
    common.width = width;
    common.height = height;
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoEncoder_setFrameRate(void* session, double frameRate) {
  return with(session, [&](Held& held) -> int32_t {
    // A decoder passes its rate on to encoders that run already, also one that it doesn't know.
    if (held.open && frameRate == 0) return QVS_PLUGIN_OK;
    if (!(frameRate > 0 && frameRate <= 1000)) {
      return refuse(*held.encoder, QVS_PLUGIN_INIT_ENCODER, "a frame rate outside 0 to 1000");
    }
    held.encoder->common.frameRate = frameRate;
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoEncoder_setBitrate(void* session, uint32_t bitrate) {
  return setting(session, [&](CommonSettings& common) { common.bitRate = bitrate; });
}

int32_t zarvoVideoEncoder_updateBitrate(void* session, uint32_t bitrate) {
  return with(session, [&](Held& held) -> int32_t {
    const int32_t status = held.open ? held.encoder->changeBitRate(bitrate) : QVS_PLUGIN_OK;
    if (status == QVS_PLUGIN_OK) held.encoder->common.bitRate = bitrate;
    return status;
  });
}

int32_t zarvoVideoEncoder_setKeyFrameFollow(void* session, uint32_t follow) {
  return setting(session, [&](CommonSettings& common) { common.keyFrameFollow = follow != 0; });
}

int32_t zarvoVideoEncoder_applyParameters(void* session) {
  return setting(session, [](CommonSettings&) {});
}

int32_t zarvoVideoEncoder_setPluginPath(void* session, const char*) {
  // None of the back ends here loads modules of its own; the call is taken so that a host may make it.
  return setting(session, [](CommonSettings&) {});
}

int32_t zarvoVideoEncoder_checkSettings(void* session) {
  return with(session, [](Held& held) -> int32_t {
    const CommonSettings& common = held.encoder->common;
    if (common.width == 0) return refuse(*held.encoder, QVS_PLUGIN_INIT_ENCODER, "no frame size is set");
    if (common.frameRate == 0) return refuse(*held.encoder, QVS_PLUGIN_INIT_ENCODER, "no frame rate is set");
    return QVS_PLUGIN_OK;
  });
}

int32_t zarvoVideoEncoder_initialize(void* session) {
  if (const int32_t status = zarvoVideoEncoder_checkSettings(session); status != QVS_PLUGIN_OK) return status;
  return with(session, [](Held& held) {
    held.open = held.ended = false;
    held.encoder->output.clear();
    const int32_t status = held.encoder->open();
    held.open = status == QVS_PLUGIN_OK;
    return status;
  });
}

int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride, uint32_t width,
                                    uint32_t height, uint32_t frameType, uint64_t timecode, void** frames,
                                    uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,
                                    uint64_t* timecodeOffsets, uint32_t* count) {
  const OutputArrays out{frames, sizes, frameTypes, timecodes, timecodeOffsets, count};
  return with(session, [&](Held& held) {
    if (!complete(out)) return refuse(*held.encoder, QVS_PLUGIN_ALLOCATE_BUFFER, "no room for coded frames");
    Picture picture = pictureAt(plane, stride, width, height);
    picture.key = frameType == QVS_FRAME_KEY;
    picture.timecode = timecode;
    const int32_t status = addPicture(held, picture);
    // What is ready is handed out even behind a failure only where the contract allows it: with status 0.
    if (status == QVS_PLUGIN_OK) {
      held.encoder->output.handOut(out);
    } else {
      *count = 0;
    }
    return status;
  });
}

int32_t zarvoVideoEncoder_drain(void* session, void** frames, uint32_t* sizes, uint32_t* frameTypes,
                                uint64_t* timecodes, uint64_t* timecodeOffsets, uint32_t* count) {
  const OutputArrays out{frames, sizes, frameTypes, timecodes, timecodeOffsets, count};
  return with(session, [&](Held& held) {
    if (!complete(out)) return refuse(*held.encoder, QVS_PLUGIN_ALLOCATE_BUFFER, "no room for coded frames");
    const int32_t status = held.open && !held.ended ? held.encoder->drain() : QVS_PLUGIN_OK;
    held.ended = held.open;
    held.encoder->output.handOut(out);
    return status;
  });
}

int32_t zarvoVideoEncoder_getParameterValueType(void* session, uint32_t key, uint32_t* arrayLength) {
  if (arrayLength != nullptr) *arrayLength = 0;
  return with(session, [&](Held& held) { return held.encoder->keyType(key); });
}

int32_t zarvoVideoEncoder_setParameterValueLong(void* session, uint32_t key, int64_t value) {
  return with(session, [&](Held& held) { return held.encoder->setKey(key, value); });
}

int32_t zarvoVideoEncoder_setParameterValueDouble(void* session, uint32_t key, double value) {
  return with(session, [&](Held& held) { return held.encoder->setKey(key, value); });
}

int32_t zarvoVideoEncoder_getParameterValueLong(void* session, uint32_t key, int64_t* value) {
  if (value == nullptr) return QVS_PLUGIN_OK;
  return with(session, [&](Held& held) { return held.encoder->getKey(key, value); });
}

int32_t zarvoVideoEncoder_getParameterValueDouble(void* session, uint32_t key, double* value) {
  if (value == nullptr) return QVS_PLUGIN_OK;
  return with(session, [&](Held& held) { return held.encoder->getKey(key, value); });
}
}
