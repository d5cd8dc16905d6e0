#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "nppi.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"
#include "video/scaling/device/cuda/CudaMemory.h"
#include "video/scaling/device/cuda/PlanarLayout.h"
#include "video/scaling/device/cuda/PreparedOverlay.h"
#include "video/scaling/device/IVideoImageProcessor.h"

namespace qvs {

/// Bytes from row to row of a picture's two planes.
struct PairsSteps {
  int luma;
  int chroma;
};

/// Image operations on a GPU, queued on one stream. Whoever calls has the context current, and waits for the stream
/// before the results are used elsewhere; `overlay` alone is done on return. One thread at a time.
///
/// Planar pictures lie as PlanarLayout says. Failures are told, and empty results.
class VideoImageProcessorCUDA : public IVideoImageProcessor {
 public:
  /// `stream` is borrowed. Throws std::runtime_error where the device doesn't answer.
  VideoImageProcessorCUDA(std::shared_ptr<CUctx_st> context, CUstream stream, int32_t deviceId,
                          std::shared_ptr<CudaCalls> calls);

  /// "I420" and "YV12" to planar, "RGBA", "BGRA" and "YUVA" as they are, from region to region by the cubic. Any other
  /// format: the target loses its memory.
  ImageInfo scale(const ImageInfo& source, ImageInfo target) override;

  /// Draws a "BGRA" or "YUVA" image on the region of `frame`, whose planes the drawing goes by, sizes rounded down to
  /// even ones.
  ImageInfo overlay(const ImageInfo& frame, ImageInfo target, const ImageInfo& overlay) override;

  /// Gives the target back.
  ImageInfo rotate(const ImageInfo& source, ImageInfo target) override;

  /// The two halves of `overlay`. `prepare` is done on return and empty on failure; `blend` is queued.
  PreparedOverlay prepare(const ImageInfo& overlay);
  bool blend(const ImageInfo& frame, const PreparedOverlay& overlay);

  /// The source of format "NV12", its chroma behind its luma, as a new planar picture with the source's stride. With
  /// `useAsync` its memory comes in the order of the default stream.
  ImageInfo convertNV12toYUV420(const ImageInfo& source, bool useAsync);
  /// Also into memory that is there. `swapped`: V goes before U.
  bool unpackNV12(const uint8_t* luma, const uint8_t* chroma, PairsSteps steps, const DevicePlanes& to,
                  NppiSize size, bool swapped);
  bool packNV12(const DevicePlanes& from, uint8_t* luma, uint8_t* chroma, PairsSteps steps, NppiSize size,
                bool swapped);
  bool unpackBGRA(const uint8_t* from, int step, const DevicePlanes& to, NppiSize size);
  bool packBGRA(const DevicePlanes& from, uint8_t* to, int step, NppiSize size);

  /// Memory for a planar picture; empty on failure.
  ImageInfo allocateYUV420Image(size_t width, size_t height, size_t stride, bool useAsync);

  CUstream getStream() const { return streamCtx.hStream; }

 private:
  ImageInfo scaleI420(const ImageInfo& source, ImageInfo target);
  ImageInfo scaleYUVA(const ImageInfo& source, ImageInfo target);
  bool scalePlane(const ImageInfo& source, const uint8_t* from, const ImageInfo& target, uint8_t* to,
                  bool isChroma);
  bool splitOverlay(const ImageInfo& overlay, PreparedOverlay& made);
  bool splitYUVA(const ImageInfo& overlay, PreparedOverlay& made);
  bool shrinkChannel(const ImageInfo& overlay, int channel, const PreparedOverlay& made, void* target);
  bool multiplyAndInvert(PreparedOverlay& made);
  bool finish() { return calls->ok(cuStreamSynchronize(streamCtx.hStream), "cuStreamSynchronize"); }

  std::shared_ptr<CUctx_st> cudaCtx;
  NppStreamContext streamCtx{};
  cudaCtxLock ctxLock;
  std::shared_ptr<CudaCalls> calls;
};

}  // namespace qvs
