#pragma once

#include <cstdint>

#include "bufstream/UccInstance.h"
#include "frames/FrameMemory.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/OverlayPlacement.h"
#include "frames/VideoScaleFrameData.h"
#include "mc_ucc.h"

namespace qvs {

class VideoOverlayFrames;
struct VideoScaleSetData;

struct VideoOverlayFrameData {
  uint32_t fourcc = kFourCCBGRA;
  FrameMemory buffer;             ///< the image as given
  uint32_t bufferLen = 0;         ///< bytes
  FrameMemory bufferYUVA;         ///< "VUYA", tight rows; made when first needed
  uint32_t bufferYUVALen = 0;     ///< bytes
  uint32_t stride = 0;            ///< bytes; the bits of a negative number for bottom-up images
  uint32_t frameStartOffset = 0;  ///< bytes to the first row
  uint32_t width = 0;
  uint32_t height = 0;
  int32_t dstX = 0;  ///< pixels from the anchor
  int32_t dstY = 0;
  uint32_t dstWidth = 0;  ///< size on the picture; 0: not drawn
  uint32_t dstHeight = 0;
  uint32_t dstAlign = 0;  ///< OverlayAlign
  uint64_t timecode = 0;
};

/// An image that is drawn over pictures.
class VideoOverlayFrame {
 public:
  /// `buffer` is malloc'ed and taken over; null is allowed. Sizes need not fit it: an image that its bytes
  /// don't cover is kept and never drawn.
  VideoOverlayFrame(uint32_t fourcc, uint8_t* buffer, uint32_t bufferLen, uint32_t stride,
                    uint32_t frameStartOffset, uint32_t width, uint32_t height);
  VideoOverlayFrame(const VideoOverlayFrame&) = delete;
  VideoOverlayFrame& operator=(const VideoOverlayFrame&) = delete;

  /// Replaces the image and resets all else; a destination has to be set anew.
  void setFrame(uint32_t fourcc, uint8_t* buffer, uint32_t bufferLen, uint32_t stride,
                uint32_t frameStartOffset, uint32_t width, uint32_t height);

  void setDestinationLocation(int32_t dstX, int32_t dstY, uint32_t dstWidth, uint32_t dstHeight,
                              uint32_t dstAlign);

  /// Makes `bufferYUVA` where it is missing; it stays empty where the image isn't covered by its bytes.
  void convertFrameToVUYA();

  /// What can be done with an image, by its numbers.
  enum class Shape : uint8_t {
    kSound,    ///< its bytes cover it
    kShort,    ///< some of its rows lie outside of its bytes: never read
    kRefused,  ///< a format or size that the system can't describe
  };
  Shape getShape() const { return shape; }

  /// The image as the converter sees it, for reading only; of a sound image.
  const ucc_frame_t& uccView() const { return view; }

  const VideoOverlayFrameData& getData() const { return overlayframe; }
  uint32_t getFourCC() const { return overlayframe.fourcc; }
  const uint8_t* getBuffer() const { return overlayframe.buffer.get(); }
  uint32_t getBufferLen() const { return overlayframe.bufferLen; }
  uint8_t* getBufferYUVA() const { return overlayframe.bufferYUVA.get(); }
  uint32_t getStride() const { return overlayframe.stride; }
  uint32_t getFrameStartOffset() const { return overlayframe.frameStartOffset; }
  uint32_t getWidth() const { return overlayframe.width; }
  uint32_t getHeight() const { return overlayframe.height; }
  int32_t getDstX() const { return overlayframe.dstX; }
  int32_t getDstY() const { return overlayframe.dstY; }
  uint32_t getDstWidth() const { return overlayframe.dstWidth; }
  uint32_t getDstHeight() const { return overlayframe.dstHeight; }
  uint32_t getDstAlign() const { return overlayframe.dstAlign; }
  uint64_t getTimecode() const { return overlayframe.timecode; }
  void setTimecode(uint64_t value) { overlayframe.timecode = value; }
  bool isTransparent() const { return transparent; }
  /// The map that it is in, and how the pictures of that map's pool are scaled. Both borrowed.
  void setOverlayFrames(VideoOverlayFrames* frames, const VideoScaleSetData* data) {
    overlayFrames = frames;
    scaleSetData = data;
  }
  VideoOverlayFrames* getOverlayFrames() const { return overlayFrames; }
  uint32_t getScaleImplementation() const;

  /// What devices keep of it; goes with its image.
  VideoScaleOverlayDataCUDA& getDataCUDA() { return scaleOverlayDataCUDA; }

  /// The converter instance that keeps this overlay scaled and converted; null when memory failed.
  void* getBlender() const { return blender.get(); }
  /// Number of the pixels now held, unique in the process.
  uint64_t getContentId() const { return contentId; }
  /// True once per image: its defect is to be reported.
  bool takeReport();

 private:
  Shape describe();
  /// Whether all rows, as `info` lays them out from the first row on, lie in the image's bytes.
  bool isCovered(const mc_frame_colorspace_info_t& info) const;
  bool hasTransparentPixel() const;

  VideoOverlayFrameData overlayframe;
  VideoOverlayFrames* overlayFrames = nullptr;      ///< borrowed
  const VideoScaleSetData* scaleSetData = nullptr;  ///< borrowed
  VideoScaleOverlayDataCUDA scaleOverlayDataCUDA;
  VideoScaleOverlayDataVAAPI scaleOverlayDataVAAPI;
  bool transparent = false;  ///< some pixel of a "BGRA" image isn't opaque
  Shape shape = Shape::kRefused;
  bool reported = false;
  ucc_frame_t view{};
  uint64_t contentId = 0;
  UccInstance blender;
};

}  // namespace qvs
