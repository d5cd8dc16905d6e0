#include <cstdlib>
#include <memory>
#include <thread>

#include "CheckRunner.h"
#include "TestPicture.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kFormats[] = {fourcc("YV12"), fourcc("I420"), fourcc("IYUV")};

struct Size {
  uint32_t width, height;  // of the half
};
constexpr Size kSizes[] = {{2, 2}, {4, 6}, {18, 2}, {30, 16}, {34, 18}, {66, 34}, {320, 180}};

// Source and target of one call.
struct Pair {
  Pair(uint32_t format, Size half, uint32_t slack, bool atEnd)
      : source(format, 2 * half.width, 2 * half.height, slack, atEnd),
        target(format, half.width, half.height, slack / 2, atEnd) {
    source.fill([](Component component, uint32_t x, uint32_t y) { return noise(component, x, y, 1); });
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
  const Session session(plugin);
  for (const uint32_t format : kFormats) {
    for (const Size size : kSizes) {
      Pair pair(format, size, 0, true);
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
  const Session session(plugin);
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
  const Session session(plugin);
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

// Same result in a fresh session, in one that has done other sizes, and beside a second one at work.
std::string keepsSessionsApart(const PluginVideoScaler& plugin) {
  const auto expected = std::make_unique<Pair>(fourcc("YV12"), kSizes[4], 0, true);
  const Session fresh(plugin);
  expected->halve(plugin, fresh);
  std::string verdicts[2];
  const auto work = [&](std::string* verdict) {
    const Session session(plugin);
    for (int round = 0; round < 50 && verdict->empty(); ++round) {
      for (const Size size : kSizes) Pair(fourcc("I420"), size, 0, true).halve(plugin, session);
      Pair pair(fourcc("YV12"), kSizes[4], 0, true);
      pair.halve(plugin, session);
      *verdict = difference(pair.target, expected->target);
    }
  };
  std::thread other(work, &verdicts[1]);
  work(&verdicts[0]);
  other.join();
  for (const std::string& verdict : verdicts) {
    if (!verdict.empty()) return "the result depends on other calls: " + verdict;
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
    {"an odd source width", [](auto& source, auto&) { source.width += 1; }},
    {"empty pictures", [](auto& source, auto& target) { source.width = target.width = 0; }},
    {"a stride shorter than a row", [](auto& source, auto&) { source.stride = source.width - 2; }},
    {"two formats", [](auto&, auto& target) { target.fourcc = fourcc("I420"); }},
    {"an unknown format", [](auto& source, auto& target) { source.fourcc = target.fourcc = fourcc("ZZZZ"); }},
    {"a missing source plane", [](auto& source, auto&) { source.plane = nullptr; }},
    {"a missing target plane", [](auto&, auto& target) { target.plane = nullptr; }},
};

std::string refuses(const PluginVideoScaler& plugin) {
  const Session session(plugin);
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

std::vector<Check> halfChecks() {
  return {{"halves flat pictures to flat pictures, plane by plane", keepsFlatPictures},
          {"halves around the centre of four samples", keepsPlace},
          {"halves inside the bytes of the pictures", staysInside},
          {"halves alike in every session and thread", keepsSessionsApart},
          {"refuses to halve what isn't a half", refuses}};
}

}  // namespace qvs::validator
