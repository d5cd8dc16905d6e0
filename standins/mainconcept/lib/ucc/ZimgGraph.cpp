// Builds and runs one zimg graph.
#include "ucc/ZimgGraph.h"

namespace qvs::ucc {
namespace {

// Primaries and transfer stay unspecified: only matrix, range and depth are converted, never the gamut.
zimg_image_format describe(const ZimgGraph::Side& side) {
  const PlanarPicture& picture = *side.picture;
  const WorkingForm& form = picture.form();
  const bool rgb = form.family == Family::kRgb;
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = picture.paddedWidth();
  format.height = picture.paddedHeight();
  format.pixel_type = form.depth > 8 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
  format.depth = form.depth;
  format.subsample_w = form.shiftX;
  format.subsample_h = form.shiftY;
  format.color_family = rgb ? ZIMG_COLOR_RGB : ZIMG_COLOR_YUV;
  format.matrix_coefficients = rgb                                                ? ZIMG_MATRIX_RGB
                               : side.color.matrix == MATRIX_COEFFICIENTS_BT601_6 ? ZIMG_MATRIX_ST170_M
                                                                                  : ZIMG_MATRIX_BT709;
  format.pixel_range = side.color.fullRange ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
  format.chroma_location = ZIMG_CHROMA_CENTER;
  format.alpha = side.alpha ? ZIMG_ALPHA_STRAIGHT : ZIMG_ALPHA_NONE;
  return format;
}

// The part of the source, in its pixels, that the target's padded length shows: padding must not change the
// ratio.
double activeLength(uint32_t sourceLength, uint32_t targetLength, uint32_t targetPadded) {
  return static_cast<double>(sourceLength) * targetPadded / targetLength;
}

}  // namespace

bool ZimgGraph::build(const Side& target, const Side& source) {
  zimg_image_format to = describe(target);
  zimg_image_format from = describe(source);
  from.active_region.left = 0;
  from.active_region.top = 0;
  from.active_region.width = activeLength(source.picture->width(), target.picture->width(), to.width);
  from.active_region.height = activeLength(source.picture->height(), target.picture->height(), to.height);

  zimg_graph_builder_params params;
  zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
  params.resample_filter = params.resample_filter_uv = ZIMG_RESIZE_BICUBIC;
  // Catmull-Rom, as the plane scaler has it; zimg's own default is softer.
  params.filter_param_a = params.filter_param_a_uv = 0.0;
  params.filter_param_b = params.filter_param_b_uv = 0.5;
  params.dither_type = ZIMG_DITHER_NONE;
  params.cpu_type = ZIMG_CPU_AUTO_64B;

  graph.reset(zimg_filter_graph_build(&from, &to, &params));
  size_t bytes = 0;
  if (!graph || zimg_filter_graph_get_tmp_size(graph.get(), &bytes) != ZIMG_ERROR_SUCCESS) return false;
  scratch = allocateAligned(bytes);
  components = target.alpha ? 4 : 3;
  if (bytes == 0 || scratch) return true;
  graph.reset();  // never a graph without its work memory
  return false;
}

bool ZimgGraph::run(const PlanarPicture& target, const PlanarPicture& source) const {
  zimg_image_buffer to{};
  zimg_image_buffer_const from{};
  to.version = from.version = ZIMG_API_VERSION;
  for (int i = 0; i < components; ++i) {
    to.plane[i] = {target.plane(i).data, target.plane(i).stride, ZIMG_BUFFER_MAX};
    from.plane[i] = {source.plane(i).data, source.plane(i).stride, ZIMG_BUFFER_MAX};
  }
  return zimg_filter_graph_process(graph.get(), &from, &to, scratch.get(), nullptr, nullptr, nullptr,
                                   nullptr) == ZIMG_ERROR_SUCCESS;
}

}  // namespace qvs::ucc
