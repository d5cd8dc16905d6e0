// The rules of scaleByHalf: flat areas, placement, bounds, repeatability, refusals.
#include <cstdlib>
#include <memory>
#include <thread>

#include "scaler/ScalerChecks.h"
#include "scaler/TestPicture.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kFormats[] = {fourcc("YV12"), fourcc("I420"), fourcc("IYUV")};

struct Size {
  uint32_t width, height;  // of the half
};
constexpr Size kSizes[] = {{2, 2}, {4, 6}, {18, 2}, {30, 16}, {34, 18}, {66, 34}, {320, 180}};

// Source and target of one call.
struct Pair {
  Pair(uint32_t format, Size half, uint32_t slack, bool atEnd, uint32_t seed = 1, uint32_t odd = 0)
      : source(format, 2 * half.width + odd, 2 * half.height + odd, slack, atEnd),
        target(format, half.width, half.height, slack / 2, atEnd) {
    source.fill([seed](Component component, uint32_t x, uint32_t y) { return noise(component, x, y, seed); });
  }
  uint32_t halve(const PluginVideoScaler& plugin, void* session) {
    return plugin.func_scaleByHalf(session, &source.record, &target.record);
  }

  TestPicture source, target;
};

std::string sizeText(const Pair& pair) {
  return nameOf(pair.source.record.fourcc) + " " + std::to_string(pair.source.record.width) + "x" +
         std::to_string(pair.source.record.height) + ": ";
}

// Every sample of a flat picture stays, which also tells the planes apart.
std::string keepsFlatPictures(const PluginVideoScaler& plugin) {
  const ScalerSession session(plugin);
  for (const uint32_t format : kFormats) {
    for (const Size size : kSizes) {
      const uint32_t odd = size.width % 4 == 0 ? 1 : 0;
      Pair pair(format, size, 0, true, 1, odd);
      const auto flat = [](Component component, uint32_t, uint32_t) -> uint8_t {
        return component == Component::kY ? 235 : component == Component::kU ? 40 : 200;
      };
      pair.source.fill(flat);
      if (pair.halve(plugin, session) != 0) return sizeText(pair) + "refused";
      TestPicture wanted(format, size.width, size.height, 0, true);
      wanted.fill(flat);
      const std::string wrong = difference(pair.target, wanted);
      if (!wrong.empty()) return sizeText(pair) + wrong;
    }
  }
  return {};
}

// On a slope each target sample is the mean of the four that it replaces, wherever the filter is centred
// right.
std::string keepsPlace(const PluginVideoScaler& plugin) {
  constexpr Size kHalf{64, 48};
  constexpr uint32_t kEdge = 6;  // samples at the border that the filter's edge rule may change
  const ScalerSession session(plugin);
  Pair pair(fourcc("YV12"), kHalf, 0, true);
  pair.source.fill([](Component, uint32_t x, uint32_t y) { return static_cast<uint8_t>(x + y); });
  if (pair.halve(plugin, session) != 0) return "refused";
  for (const Component component : pair.target.components()) {
    for (uint32_t y = kEdge; y < pair.target.heightOf(component) - kEdge; ++y) {
      for (uint32_t x = kEdge; x < pair.target.widthOf(component) - kEdge; ++x) {
        const int wanted = static_cast<int>(2 * x + 2 * y + 1);
        const int got = pair.target.sample(component, x, y);
        if (abs(got - wanted) > 1) {
          return "a slope is shifted: " + std::to_string(got) + " where " + std::to_string(wanted) +
                 " should be";
        }
      }
    }
  }
  return {};
}

std::string staysInside(const PluginVideoScaler& plugin) {
  const ScalerSession session(plugin);
  for (const uint32_t format : kFormats) {
    for (const Size size : kSizes) {
      for (const bool atEnd : {false, true}) {
        Pair pair(format, size, 14, atEnd);
        const auto before = pair.source.contents();
        if (pair.halve(plugin, session) != 0) return sizeText(pair) + "refused with a stride above the width";
        if (pair.source.contents() != before) return sizeText(pair) + "the source was written";
        const std::string stray = pair.target.strayWrites();
        if (!stray.empty()) return sizeText(pair) + stray;
      }
    }
  }
  return {};
}

// Halves a picture of each size in turn, again and again, and tells whether a result ever differs from the
// first, which was made in a session of its own while nothing else ran.
class Repeater {
 public:
  Repeater(const PluginVideoScaler& plugin, uint32_t seed) : plugin(plugin) {
    for (const Size size : kSizes) {
      const ScalerSession session(plugin);
      pairs.push_back(std::make_unique<Pair>(fourcc("YV12"), size, 0, true, seed));
      pairs.back()->halve(plugin, session);
    }
  }

  void repeat() {
    constexpr int kRounds = 100;
    const ScalerSession session(plugin);
    for (int round = 0; round < kRounds; ++round) {
      for (size_t i = 0; i < pairs.size() && verdict.empty(); ++i) {
        Pair& pair = *pairs[i];
        const auto first = pair.target.contents();
        pair.halve(plugin, session);
        if (pair.target.contents() != first) verdict = sizeText(pair) + "not the same twice";
      }
    }
  }

  std::string verdict;

 private:
  const PluginVideoScaler& plugin;
  std::vector<std::unique_ptr<Pair>> pairs;
};

std::string keepsSessionsApart(const PluginVideoScaler& plugin) {
  Repeater one(plugin, 1), other(plugin, 2);
  std::thread thread([&other] { other.repeat(); });
  one.repeat();
  thread.join();
  for (const Repeater* repeater : {&one, &other}) {
    if (!repeater->verdict.empty()) return "the result depends on other calls: " + repeater->verdict;
  }
  return {};
}

struct Refusal {
  const char* what;
  void (*change)(VideoFrameIntrinsicScalerFrame& source, VideoFrameIntrinsicScalerFrame& target);
};

constexpr Refusal kRefusals[] = {
    {"a target that isn't the half", [](auto&, auto& target) { target.width -= 2; }},
    {"an odd half width", [](auto& source, auto& target) { target.width = 31, source.width = 62; }},
    {"an odd half height", [](auto& source, auto& target) { target.height = 15, source.height = 30; }},
    {"empty pictures", [](auto& source, auto& target) { source.width = target.width = 0; }},
    {"a stride shorter than a row", [](auto& source, auto&) { source.stride = source.width - 2; }},
    {"two formats", [](auto&, auto& target) { target.fourcc = fourcc("I420"); }},
    {"an unknown format", [](auto& source, auto& target) { source.fourcc = target.fourcc = fourcc("ZZZZ"); }},
    {"a missing source plane", [](auto& source, auto&) { source.plane = nullptr; }},
    {"a missing target plane", [](auto&, auto& target) { target.plane = nullptr; }},
};

std::string refuses(const PluginVideoScaler& plugin) {
  const ScalerSession session(plugin);
  for (const Refusal& refusal : kRefusals) {
    Pair pair(fourcc("YV12"), {32, 16}, 16, true);
    const auto before = pair.target.contents();
    VideoFrameIntrinsicScalerFrame source = pair.source.record, target = pair.target.record;
    refusal.change(source, target);
    if (plugin.func_scaleByHalf(session, &source, &target) == 0)
      return std::string("accepted ") + refusal.what;
    if (pair.target.contents() != before) return std::string("wrote the target for ") + refusal.what;
  }
  return {};
}

}  // namespace

ScalerRules halfRules() {
  return {{"halves flat pictures to flat pictures, plane by plane", keepsFlatPictures},
          {"halves around the centre of four samples", keepsPlace},
          {"halves inside the bytes of the pictures", staysInside},
          {"halves alike in every session and thread", keepsSessionsApart},
          {"refuses to halve what isn't a half", refuses}};
}

}  // namespace qvs::validator
