#pragma once

#include <array>
#include <memory>

#include "video/AvPointers.h"

namespace qvs::mc {

/// Turns interlaced pictures into whole ones with libavfilter's bwdif, without holding any back: a picture is
/// judged by its predecessor and by itself; the first by itself alone, with estdif.
class Deinterlacer {
 public:
  enum class Rate {
    kSingle,  ///< one picture of the first field
    kDouble,  ///< one of each field
  };

  /// Takes the next interlaced picture. False where the filter isn't there or refuses.
  bool put(const AVFrame& picture, Rate rate);

  /// The picture of a field in time order, after a `put`; null where there is none.
  const AVFrame* get(bool second) const;

 private:
  /// Makes the graph anew where the form of the pictures changes; one that was refused isn't tried again.
  bool prepare(const AVFrame& picture, Rate rate);
  bool build(const char* deinterlacer);
  bool filter(const AVFrame& picture);
  bool feed(const AVFrame& picture, bool interlaced);
  bool take(AVFrame& frame);

  struct GraphFree {
    void operator()(AVFilterGraph* graph) const { AvLibrary::filters()->avfilter_graph_free(&graph); }
  };

  std::unique_ptr<AVFilterGraph, GraphFree> graph;
  AVFilterContext* source = nullptr;  ///< the graph's
  AVFilterContext* sink = nullptr;    ///< the graph's
  std::array<AvFramePtr, 2> fields;   ///< in time order
  AvFramePtr input;
  int width = 0;
  int height = 0;
  int format = -1;
  Rate rate = Rate::kSingle;
  bool fresh = false;  ///< the graph has seen no picture
  int64_t time = 0;
};

}  // namespace qvs::mc
