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
  AVFrame* overlay() { return over; }
  AVFrame* picture() { return under; }

  /// Blends over picture() once more.
  void process();

 private:
  AVFilterContext* addSource(const char* name, int width, int height, int format);

  AVFilterGraph* graph;
  AVFilterContext* mainSource = nullptr;
  AVFilterContext* overlaySource = nullptr;
  AVFilterContext* sink = nullptr;
  AVFrame* under = nullptr;
  AVFrame* over = nullptr;
  int64_t count = 0;
};

}  // namespace qvs::bench
