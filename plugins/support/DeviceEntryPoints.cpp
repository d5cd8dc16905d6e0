// The exported functions of encoder plug-ins that take pictures in a card's memory as well.
#include "EncoderEntry.h"

namespace qvs::plugins {

namespace {

constexpr uint32_t kYV12 = 0x32315659;

/// The copy that is valid, the card's where both are; one without planes where none is.
Picture validCopy(const PluginVideoFrameBuffer& frame) {
  if ((frame.locations & QVS_LOCATION_CUDA) != 0 && frame.frameCUDA.buffer != nullptr) {
    return devicePictureAt(frame.frameCUDA);
  }
  const bool onHost = (frame.locations & QVS_LOCATION_SYSTEM_MEMORY) != 0 && frame.four_cc == kYV12;
  if (!onHost || frame.buffer == nullptr) return {};
  return pictureAt(frame.buffer, frame.stride, frame.width, frame.height);
}

}  // namespace
}  // namespace qvs::plugins

using namespace qvs::plugins;

extern "C" {

int32_t zarvoVideoEncoder_setCUDAContext(void* session, PluginVideoCUDAContext* context) {
  return with(session, [&](Held& held) {
    if (context == nullptr) return refuse(*held.encoder, QVS_PLUGIN_CREATE_CONTEXT, "no context");
    return held.encoder->setCudaContext(*context);
  });
}

int32_t zarvoVideoEncoder_addFrame3(void* session, PluginVideoFrameBuffer* frame,
                                    PluginVideoEncoderOutput* output) {
  return with(session, [&](Held& held) {
    if (output == nullptr || output->frames == nullptr) {
      return refuse(*held.encoder, QVS_PLUGIN_ALLOCATE_BUFFER, "no room for coded frames");
    }
    output->frameCount = 0;
    if (frame == nullptr) return refuse(*held.encoder, QVS_PLUGIN_ALLOCATE_BUFFER, "no picture");
    Picture picture = validCopy(*frame);
    picture.key = frame->frameType == QVS_FRAME_KEY;
    picture.timecode = frame->timecode;
    const int32_t status = addPicture(held, picture);
    if (status == QVS_PLUGIN_OK) held.encoder->output.handOut(*output);
    return status;
  });
}
}
