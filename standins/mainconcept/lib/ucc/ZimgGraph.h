#pragma once

#include <zimg.h>

#include <memory>

#include "ucc/Color.h"
#include "ucc/PlanarPicture.h"

namespace qvs::ucc {

/// One zimg filter graph with its work memory. Scales bicubically, resamples chroma, converts matrix, range
/// and depth, and rounds to nearest. Chroma is sited at the centre of its luma samples, as full-range
/// pictures have it.
class ZimgGraph {
 public:
  /// Geometry and form of one side. `alpha`: straight alpha is scaled along, so that hidden colors don't
  /// bleed.
  struct Side {
    const PlanarPicture* picture;
    Color color;
    bool alpha;
  };

  /// False when memory fails.
  bool build(const Side& target, const Side& source);
  bool built() const { return graph != nullptr; }
  /// `target` and `source` are of the geometry given to `build`. Allocates nothing.
  bool run(const PlanarPicture& target, const PlanarPicture& source) const;

 private:
  struct GraphDeleter {
    void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
  };
  std::unique_ptr<zimg_filter_graph, GraphDeleter> graph;
  AlignedBlock scratch;
  int components = 3;
};

}  // namespace qvs::ucc
