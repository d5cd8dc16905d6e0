#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "capture/CaptureManager.h"
#include "capture/CaptureUtils.h"
#include "capture/decklink/CaptureDeviceBlackMagic.h"
#include "frames/geometry/ChromaOrder.h"
#include "log/LogCollector.h"
#include "platform/SharedLibrary.h"

namespace qvs::test {

/// The fake driver that the product has opened, or will.
class FakeDriver {
 public:
  static FakeDriver& get() {
    static FakeDriver driver;
    return driver;
  }
  void (*script)(const char*);
  uint64_t (*calls)();
  int64_t (*live)();
  uint64_t (*sent)();
  const char* (*faulty)();

 private:
  FakeDriver() {
    if (!library.open("libDeckLinkAPI.so")) throw std::runtime_error(library.lastError());
    script = library.symbol<void (*)(const char*)>("qvsFakeCardScript");
    calls = library.symbol<uint64_t (*)()>("qvsFakeCardCalls");
    live = library.symbol<int64_t (*)()>("qvsFakeCardLive");
    sent = library.symbol<uint64_t (*)()>("qvsFakeCardSent");
    faulty = library.symbol<const char* (*)()>("qvsFakeCardFaulty");
  }
  SharedLibrary library;
};

template <typename Condition>
bool within20s(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// A card under a script, found by a manager of its own, with a sink of each kind that loses nothing.
class CardRun {
 public:
  explicit CardRun(const std::string& script, const std::string& slate = {}) {
    FakeDriver::get().script(script.c_str());
    manager.setLogger(&collector);
    manager.setPath(2, slate.empty() ? "/nowhere" : slate.c_str());
    manager.inspectHardware();
    device = dynamic_cast<CaptureDeviceBlackMagic*>(manager.getDevice(0));
    if (device == nullptr) return;
    video = device->getFrameSink(device->addFrameSink(kCaptureVideo, 0, nullptr));
    audio = device->getFrameSink(device->addFrameSink(kCaptureAudio, 0, nullptr));
  }
  ~CardRun() {
    if (device != nullptr) setRunning(false);
  }

  /// Starts in a mode of the fake's list, by its name.
  uint32_t start(const std::string& mode, CaptureDeviceCaptureParamsVideoData params = {}) {
    for (uint32_t i = 0; i < device->renditionCount(); ++i) {
      if (device->getRendition(i)->getName() == mode) params.renditionIndex = static_cast<int32_t>(i);
    }
    device->setCaptureParamsVideo(params);
    return setRunning(true);
  }
  uint32_t setRunning(bool run) {
    CaptureDeviceStateInfoData state{.state = run ? 1u : 2u};
    device->setActiveState(&state);
    return state.status;
  }

  struct GiveBack {
    CaptureFrameSink* sink;
    void operator()(CaptureFrame* frame) const { sink->releaseCaptureFrame(frame); }
  };
  using FramePtr = std::unique_ptr<CaptureFrame, GiveBack>;
  /// All frames of a kind once there are `count`; fewer after 20 seconds. To be let go of before this is.
  std::vector<FramePtr> take(CaptureFrameSink* sink, size_t count) {
    std::vector<FramePtr> frames;
    within20s([&] {
      while (CaptureFrame* const frame = sink->getCaptureFrame()) frames.emplace_back(frame, GiveBack{sink});
      return frames.size() >= count;
    });
    return frames;
  }
  std::vector<FramePtr> pictures(size_t count) { return take(video, count); }
  std::vector<FramePtr> blocks(size_t count) { return take(audio, count); }

  std::string log() {
    std::vector<LogStatement> lines;
    collector.getLogStatements(lines);
    for (const LogStatement& line : lines) text += line.str + "\n";
    return text;
  }

  LogCollector collector;
  CaptureManager manager;
  CaptureDeviceBlackMagic* device = nullptr;
  CaptureFrameSink* video = nullptr;
  CaptureFrameSink* audio = nullptr;

 private:
  std::string text;
};

struct Yuv {
  int y, u, v;
};

inline Yuv colorAt(VideoFrameBuffer& picture, uint32_t x, uint32_t y) {
  const ChromaOrder order = chromaOrder(picture.getFourCC());
  const auto at = [&](uint32_t plane, uint32_t column, uint32_t row) {
    return int{picture.getPlane(plane)[static_cast<ptrdiff_t>(row) * picture.getStride(plane) + column]};
  };
  return {at(0, x, y), at(order.u, x / 2, y / 2), at(order.v, x / 2, y / 2)};
}

/// The number that the fake has burnt in, of a picture in its own size.
inline int numberOf(VideoFrameBuffer& picture) {
  int number = 0;
  for (uint32_t bit = 0; bit < 16; ++bit)
    number |= (colorAt(picture, bit * 24 + 12, 16).y > 128 ? 1 : 0) << bit;
  return number;
}

}  // namespace qvs::test
