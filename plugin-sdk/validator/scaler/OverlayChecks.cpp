// The rules of overlayFrame: a reference blend, clipping, bounds, refusals.
#include <cstdint>

#include "scaler/ScalerChecks.h"
#include "scaler/TestPicture.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kFormats[] = {fourcc("YV12"), fourcc("I420"), fourcc("IYUV"), fourcc("NV12")};

struct Place {
  const char* what;
  uint32_t width, height;  // of the overlay
  int32_t x, y;
  uint32_t targetWidth, targetHeight;
};

constexpr Place kPlaces[] = {
    {"inside", 48, 20, 10, 6, 128, 64},
    {"of odd size", 41, 21, 10, 6, 128, 64},
    {"over the left and upper edge", 90, 30, -22, -10, 128, 64},
    {"over the right and lower edge", 90, 30, 100, 50, 128, 64},
    {"larger than the picture", 200, 100, -20, -20, 128, 64},
    {"on a picture of odd size", 64, 8, 60, 40, 99, 45},
    {"beyond the right edge", 30, 30, 128, 0, 128, 64},
    {"beyond the left edge", 30, 30, -30, 0, 128, 64},
    {"far outside", 30, 30, INT32_MIN, INT32_MAX - 1, 128, 64},
};

// Overlay and target of one call. `opacity` 256 takes noise for A.
struct Drawing {
  Drawing(uint32_t format, const Place& place, uint32_t opacity, uint32_t slack, bool atEnd)
      : overlay(fourcc("VUYA"), place.width, place.height, 4 * slack, atEnd),
        target(format, place.targetWidth, place.targetHeight, slack, atEnd),
        x(place.x),
        y(place.y) {
    overlay.fill([opacity](Component component, uint32_t column, uint32_t row) {
      const bool fixed = component == Component::kA && opacity < 256;
      return fixed ? static_cast<uint8_t>(opacity) : noise(component, column, row, 2);
    });
    target.fill(
        [](Component component, uint32_t column, uint32_t row) { return noise(component, column, row, 3); });
  }

  uint32_t draw(const PluginVideoScaler& plugin, void* session, uint32_t mode = VIDEO_SCALER_OVERLAY_BLEND) {
    return plugin.func_overlayFrame(session, mode, static_cast<uint32_t>(x), static_cast<uint32_t>(y),
                                    &overlay.record, &target.record);
  }

  TestPicture overlay, target;
  int32_t x, y;
};

// The blend as the contract defines it, on the target of `drawing`.
class Reference {
 public:
  explicit Reference(Drawing& drawing) : drawing(drawing) {}

  void draw() {
    drawing.target.fill([this](Component component, uint32_t x, uint32_t y) {
      return component == Component::kY ? blend(component, x, y, 1) : blend(component, 2 * x, 2 * y, 2);
    });
  }

 private:
  // The sample of the target at pixel (x, y), which covers side x side pixels.
  uint8_t blend(Component component, uint32_t x, uint32_t y, uint32_t side) {
    uint32_t sum = 0, alphas = 0;
    for (uint32_t i = 0; i < side * side; ++i) {
      const int64_t column = int64_t{x} + i % side - drawing.x, row = int64_t{y} + i / side - drawing.y;
      if (column < 0 || row < 0 || column >= drawing.overlay.record.width ||
          row >= drawing.overlay.record.height) {
        continue;
      }
      const auto inX = static_cast<uint32_t>(column), inY = static_cast<uint32_t>(row);
      const uint32_t alpha = drawing.overlay.sample(Component::kA, inX, inY);
      sum += alpha * drawing.overlay.sample(component, inX, inY);
      alphas += alpha;
    }
    const uint32_t whole = 255u * side * side;
    const uint32_t old = drawing.target.sample(component, x / side, y / side);
    return static_cast<uint8_t>((sum + (whole - alphas) * old + whole / 2) / whole);
  }

  Drawing& drawing;
};

std::string blends(const PluginVideoScaler& plugin) {
  const ScalerSession session(plugin);
  for (const uint32_t format : kFormats) {
    for (const Place& place : kPlaces) {
      for (const uint32_t opacity : {0u, 255u, 256u}) {
        Drawing drawn(format, place, opacity, 0, true);
        Drawing wanted(format, place, opacity, 0, true);
        const std::string where = nameOf(format) + ", overlay " + place.what + ": ";
        if (drawn.draw(plugin, session) != 0) return where + "refused";
        Reference(wanted).draw();
        const std::string wrong = difference(drawn.target, wanted.target);
        if (!wrong.empty()) return where + wrong;
      }
    }
  }
  return {};
}

std::string staysInside(const PluginVideoScaler& plugin) {
  const ScalerSession session(plugin);
  for (const uint32_t format : kFormats) {
    for (const Place& place : kPlaces) {
      for (const bool atEnd : {false, true}) {
        Drawing drawing(format, place, 256, 6, atEnd);
        const auto before = drawing.overlay.contents();
        const std::string where = nameOf(format) + ", overlay " + place.what + ": ";
        if (drawing.draw(plugin, session) != 0) return where + "refused with a stride above the width";
        if (drawing.overlay.contents() != before) return where + "the overlay was written";
        const std::string stray = drawing.target.strayWrites();
        if (!stray.empty()) return where + stray;
      }
    }
  }
  return {};
}

struct Refusal {
  const char* what;
  void (*change)(Drawing& drawing);
};

constexpr Refusal kRefusals[] = {
    {"an odd x", [](Drawing& drawing) { drawing.x = 3; }},
    {"an odd negative y", [](Drawing& drawing) { drawing.y = -3; }},
    {"an overlay that isn't VUYA", [](Drawing& drawing) { drawing.overlay.record.fourcc = fourcc("BGRA"); }},
    {"an unknown target format", [](Drawing& drawing) { drawing.target.record.fourcc = fourcc("ZZZZ"); }},
    {"a missing overlay plane", [](Drawing& drawing) { drawing.overlay.record.plane = nullptr; }},
    {"a missing target plane", [](Drawing& drawing) { drawing.target.record.plane = nullptr; }},
    {"an overlay stride shorter than a row", [](Drawing& drawing) { drawing.overlay.record.stride -= 4; }},
    {"a target stride shorter than a row", [](Drawing& drawing) { drawing.target.record.stride -= 2; }},
};

std::string refuses(const PluginVideoScaler& plugin) {
  const ScalerSession session(plugin);
  for (const Refusal& refusal : kRefusals) {
    Drawing drawing(fourcc("YV12"), kPlaces[0], 256, 0, true);
    const auto before = drawing.target.contents();
    refusal.change(drawing);
    if (drawing.draw(plugin, session) == 0) return std::string("accepted ") + refusal.what;
    if (drawing.target.contents() != before) return std::string("wrote the target for ") + refusal.what;
  }
  Drawing drawing(fourcc("YV12"), kPlaces[0], 256, 0, true);
  for (const uint32_t mode : {0u, 77u}) {
    if (drawing.draw(plugin, session, mode) == 0) return "accepted unknown mode " + std::to_string(mode);
  }
  return {};
}

}  // namespace

ScalerRules overlayRules() {
  return {{"blends exactly, wherever the overlay lies", blends},
          {"draws inside the bytes of the picture", staysInside},
          {"refuses overlays that it can't draw", refuses}};
}

}  // namespace qvs::validator
