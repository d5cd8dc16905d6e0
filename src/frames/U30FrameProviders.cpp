// Pictures that stay on the card: who holds the handle, and how it goes back.
#include "frames/U30FrameProviders.h"

#include <xvcu_opaque.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

#include "frames/geometry/FourCC.h"

namespace qvs {
namespace {

// The record has one pointer for the release of a picture, and the card's handle travels in it.
using DoneField = decltype(frame_tt::done);

void* handleIn(DoneField done) {
  return std::bit_cast<void*>(done);
}

}  // namespace

FrameAllocProvider U30FrameProviders::getAllocProvider() {
  static const auto provider = std::make_shared<FrameAllocProvider::element_type>(allocProvider);
  return provider;
}

FrameFreeProvider U30FrameProviders::getFreeProvider() {
  static const auto provider = std::make_shared<FrameFreeProvider::element_type>(freeProvider);
  return provider;
}

bool U30FrameProviders::allocProvider(VideoFrameBuffer& frame, uint32_t width, uint32_t height,
                                      uint32_t fourCC, uint8_t, uint32_t& size) {
  size = 0;
  if (fourCC != kFourCCHN12) return false;
  frame_tt& description = frame.getFrame();
  description.width = width;
  description.height = height;
  description.four_cc = fourCC;
  std::fill(std::begin(description.plane), std::end(description.plane), nullptr);
  std::fill(std::begin(description.stride), std::end(description.stride), 0);
  return true;
}

bool U30FrameProviders::freeProvider(VideoFrameBuffer& frame) {
  if (frame.getFourCC() != kFourCCHN12) return false;
  release(takeHandle(frame));
  return true;
}

void* U30FrameProviders::takeHandle(VideoFrameBuffer& frame) {
  return handleIn(std::exchange(frame.getFrame().done, nullptr));
}

void U30FrameProviders::setHandle(VideoFrameBuffer& frame, void* handle) {
  release(takeHandle(frame));
  // A frame that took its storage itself was made before a stage of the card gave its providers out.
  if (frame.getBuffer() != nullptr) frame.setAllocProvider(getAllocProvider(), getFreeProvider());
  frame.getFrame().done = std::bit_cast<DoneField>(handle);
}

void U30FrameProviders::release(void* handle) {
  if (handle == nullptr) return;
  const auto* object = static_cast<const xvcu_opaque_object*>(handle);
  if (object->xvcu_destroy_object != nullptr) object->xvcu_destroy_object(&handle);
}

}  // namespace qvs
