#pragma once

#include <memory>

#include "frames/DevicePicture.h"
#include "frames/VideoScaleFrameData.h"
#include "frames/VideoScaleSetData.h"
#include "video/scaling/device/cuda/VideoImageProcessorCUDA.h"

namespace qvs {

/// A picture in a GPU's memory, planar 4:2:0 in the order Y, U, V (see PlanarLayout). All work is queued on its pool's
/// stream.
class DevicePictureCUDA : public DevicePicture {
 public:
  /// Takes shares of what it needs of the pool. Throws std::runtime_error where the device doesn't answer.
  explicit DevicePictureCUDA(const VideoScaleSetDataCUDA& pool);
  ~DevicePictureCUDA() override;

  uint32_t allocate(PixelSize size) override;
  bool hasStorage() const override { return data.buffer.buffer != nullptr && data.buffer.size != 0; }
  PixelSize getSize() const override { return {data.buffer.width, data.buffer.height}; }
  uint32_t upload(const HostPicture& host) override;
  uint32_t download(const HostPicture& host) override;
  void fillBlack() override;
  uint32_t place(const DevicePicture& source, const Placement& placement, Completion completion) override;
  uint32_t drawOverlay(VideoOverlayFrame& overlay, const OverlayPlacement& placement) override;
  uint32_t finish() const override;
  PluginVideoFrameBufferCUDA pluginRecord() const override;

 private:
  enum class Direction : uint8_t { kToDevice, kToHost };

  DevicePlanes planes() const { return {data.buffer.buffer.get(), layout()}; }
  PlanarLayout layout() const { return {data.buffer.stride, data.buffer.height}; }
  ImageInfo borrowed(const PixelRect& region) const;
  bool stage(size_t bytes);
  uint32_t transfer(const HostPicture& host, Direction direction);
  bool convert(const HostPicture& host, Direction direction);
  bool copyPlanes(const HostPicture& host, Direction direction);
  bool copyPlane(uint8_t* staged, int32_t stagedStride, uint8_t* plane, size_t stride, size_t width,
                 size_t height, Direction direction);
  bool scaleFrom(const DevicePictureCUDA& source, const Placement& placement, uint32_t* status);
  bool prepare(VideoOverlayFrame& overlay);
  ImageInfo uploadImage(const uint8_t* pixels, int32_t stride, uint32_t width, uint32_t height);

  std::shared_ptr<CUctx_st> context;
  std::shared_ptr<CUstream_st> stream;
  std::shared_ptr<CudaCalls> calls;
  CudaMemoryKind memoryKind;
  mutable cudaCtxLock ctxLock;
  mutable bool pending = false;  ///< something is queued
  std::unique_ptr<VideoImageProcessorCUDA> videoImageProcessor;
  VideoScaleFrameDataCUDA data;
};

}  // namespace qvs
