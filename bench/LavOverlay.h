// libavfilter's overlay filter, set up once, as a measure for ours.
#pragma once

#include <cstdint>

struct AVFilterContext;
struct AVFilterGraph;
struct AVFrame;

namespace qvs::bench {

/// Lays one YUVA 4:2:0 picture over YUV 4:2:0 pictures with straight alpha, in place and on one thread.
class LavOverlay {
 public:
  /// Exits with a message when the filter can't be set up. `x` and `y` place the overlay.
  LavOverlay(int width, int height, int overlayWidth, int overlayHeight, int x, int y);
  ~LavOverlay();

  /// Planes Y, U, V, A of the overlay, to be filled before the first process().
  AVFrame* overlay() { return overlay_; }
  AVFrame* picture() { return picture_; }

  /// Blends over picture() once more.
  void process();

 private:
  AVFilterContext* addSource(const char* name, int width, int height, int format);

  AVFilterGraph* graph_;
  AVFilterContext* mainSource_ = nullptr;
  AVFilterContext* overlaySource_ = nullptr;
  AVFilterContext* sink_ = nullptr;
  AVFrame* picture_ = nullptr;
  AVFrame* overlay_ = nullptr;
  int64_t pictures_ = 0;
};

}  // namespace qvs::bench
