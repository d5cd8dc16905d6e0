#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "cuda.h"
#include "nvcuvid.h"
#include "platform/ParameterTable.h"
#include "platform/RingQueue.h"
#include "video/decoders/ByteBlock.h"
#include "video/decoders/NalUnitSplicer.h"
#include "video/decoders/NvcuvidFrames.h"
#include "video/decoders/VideoDecoderBase.h"
#include "video/scaling/device/cuda/CudaCalls.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"

namespace qvs {

class VideoImageProcessorCUDA;

/// H.264, H.265 and MPEG-2 on the decoder of an NVIDIA card. Pictures leave it as NV12, are made planar on the device
/// and wait there until they are fetched: into a frame's device picture or into its host memory, as the frame's pool
/// scales.
///
/// `decode` and `getDecodedFrame` may come from different threads. Once the device has failed for good `decode` gives
/// kFailure, and no picture follows.
class VideoDecoderGenericNVCUVID : public WithParameters<VideoDecoderGenericNVCUVID, VideoDecoderBase> {
 public:
  enum Key : uint32_t {
    kKeyDeinterlace = 0,
    kKeyDeinterlaceDoubleRate = 1,
    kKeyNumDecodeSurfaces = 20000,
    kKeyMaxNumDecodeSurfaces = 20001,
    kKeyMaxDisplayDelay = 20002,
    kKeyNumOutputSurfaces = 20003,
    kKeyDeinterlaceMode = 20004,
    /// Extension, as with the decoders behind a stream record: what the card still holds comes out.
    kKeyEndOfStream = 100200,
  };

  VideoDecoderGenericNVCUVID();
  ~VideoDecoderGenericNVCUVID() override;

  using VideoDecoderBase::decode;

  uint32_t initialize() override;
  uint32_t setGPUID(int32_t value) override;
  uint32_t close() override;
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;
  uint32_t decode(uint32_t* flags) override;
  uint8_t isFrameDone() override { return inputBuffer.empty() ? 1 : 0; }
  uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                               uint32_t* displayHeight) override;
  uint32_t getDecodedFrame(VideoFrameBuffer& target) override;
  static const ParameterRow<VideoDecoderGenericNVCUVID>* parameterOf(uint32_t key);

 private:
  uint32_t initCuda(int32_t ordinal);
  void closeCuda();
  uint32_t createParser();
  void destroyParser();
  uint32_t createDecoder(const CUVIDEOFORMAT& format);
  void destroyDecoder();

  uint32_t addUnits(uint8_t* bytes, uint32_t len);
  void remember(uint64_t timecode, uint32_t frameType);
  uint32_t frameTypeOf(uint64_t timecode) const;
  void parse(uint32_t packetFlags, uint32_t* flags);

  // The parser's callbacks; they run inside cuvidParseVideoData.
  int handleVideoSequence(const CUVIDEOFORMAT& format);
  int handlePictureDecode(CUVIDPICPARAMS& picture);
  int handlePictureDisplay(const CUVIDPARSERDISPINFO& info);
  void takePass(VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass);
  bool convert(VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass, CUdeviceptr mapped, uint32_t pitch);

  bool deliver(const VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass, VideoFrameBuffer& target);
  bool copyToDevice(const VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass, VideoFrameBuffer& target);
  bool copyToHost(const VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass, VideoFrameBuffer& target);
  bool growStaging(size_t size);
  void black(VideoFrameBuffer& target);

  bool isLost() const;

  std::shared_ptr<CUctx_st> m_Context;
  uint32_t m_ContextDeviceId = 0;
  CUdevice m_Device = 0;
  std::shared_ptr<CUstream_st> m_ReadbackSID;  ///< of the display callback
  std::shared_ptr<CUstream_st> m_GetFrameSID;  ///< of getDecodedFrame
  CUvideoparser m_Parser = nullptr;
  CUvideodecoder m_Decoder = nullptr;
  std::unique_ptr<VideoImageProcessorCUDA> imageProcessor;
  int32_t gpuid = -1;
  NvcuvidSizes seq;
  int32_t seqChromaFormat = -1;
  double seqFrameRate = 0;
  int32_t numDecodeSurfaces = 16;
  int32_t maxNumDecodeSurfaces = 16;
  int32_t maxDisplayDelay = 1;
  int32_t numOutputSurfaces = 4;
  int32_t deinterlaceMode = 2;  ///< cudaVideoDeinterlaceMode; weaves where `deinterlace` is off
  uint32_t hardwareMode = 4;    ///< cudaVideoCreateFlags

  NalUnitSplicer splicerH264{kNalRulesH264};
  NalUnitSplicer splicerH265{kNalRulesH265};
  RingQueue<ByteBlock> pieces;       ///< of the access unit that is being put together
  std::vector<uint8_t> inputBuffer;  ///< one access unit in Annex B form; keeps its room
  uint64_t inputBufferTimecode = 0;
  uint32_t inputBufferFrameType = 0;

  NvcuvidFrames frames;
  std::unique_ptr<IConcurrentLock> typesLock;  ///< guards the two below
  std::unordered_map<uint64_t, uint32_t> timecodeToFrameType;
  std::deque<uint64_t> timecodesInMap;  ///< oldest first

  uint8_t* decodedFrameBuffer = nullptr;  ///< pinned host memory
  size_t decodedFrameBufferSize = 0;
  uint8_t seqChange = 0;
  uint32_t targetHeight = 0;  ///< rows of a mapped surface's luma
  bool isCudaDevAttrMemoryPoolsSupported = false;
  cudaCtxLock ctxLock;

  uint32_t endOfStream = 0;
  bool ended = false;          ///< the parser was told the end
  bool refused = false;        ///< the card makes no decoder for the sequence at hand
  bool pictureFailed = false;  ///< in the unit at hand
  std::shared_ptr<CudaCalls> calls;
  bool hasShown = false;  ///< of the double rate: the picture below may be fetched a second time
  VideoDecoderGenericNVCUVIDFrameInfo shown;
};

}  // namespace qvs
