#pragma once

#include <libyuv.h>

#include <tuple>
#include <utility>

#include "ucc/ConversionPath.h"

namespace qvs::ucc {

/// Converts a whole picture of one pair of formats at equal size, without memory of its own. `matrix` is that
/// of the pair's YUV side.
using PictureKernel = void (*)(const ucc_frame_t& target, const ucc_frame_t& source,
                               const libyuv::YuvConstants* matrix);

/// The arguments that libyuv takes for a picture: plane and stride, by turns.
template <size_t... Index>
auto planeArguments(const ucc_frame_t& frame, std::index_sequence<Index...>) {
  return std::tuple_cat(std::make_tuple(frame.plane[Index], static_cast<int>(frame.stride[Index]))...);
}

/// A libyuv function that takes the source's planes, the target's planes and the size.
template <auto Function, size_t SourcePlanes, size_t TargetPlanes>
void libyuvKernel(const ucc_frame_t& target, const ucc_frame_t& source, const libyuv::YuvConstants*) {
  std::apply(Function, std::tuple_cat(
                           planeArguments(source, std::make_index_sequence<SourcePlanes>()),
                           planeArguments(target, std::make_index_sequence<TargetPlanes>()),
                           std::make_tuple(static_cast<int>(target.width), static_cast<int>(target.height))));
}

/// The same with the matrix before the size and one target plane: YUV to RGB.
template <auto Function, size_t SourcePlanes>
void libyuvMatrixKernel(const ucc_frame_t& target, const ucc_frame_t& source,
                        const libyuv::YuvConstants* matrix) {
  std::apply(Function, std::tuple_cat(
                           planeArguments(source, std::make_index_sequence<SourcePlanes>()),
                           std::make_tuple(target.plane[0], static_cast<int>(target.stride[0]), matrix,
                                           static_cast<int>(target.width), static_cast<int>(target.height))));
}

/// Null where libyuv has no exact enough constants.
const libyuv::YuvConstants* findLibyuvMatrix(const Color& yuv);

class KernelPath : public ConversionPath {
 public:
  explicit KernelPath(PictureKernel kernel) : kernel(kernel) {}
  bool prepare(const Task& task) override;
  bool run(const ucc_frame_t& target, const ucc_frame_t& source) override;

 private:
  PictureKernel kernel;
  const libyuv::YuvConstants* matrix = nullptr;
};

}  // namespace qvs::ucc
