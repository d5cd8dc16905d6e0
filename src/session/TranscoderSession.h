#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "frames/EncodedUnits.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameAncillaryData.h"
#include "frames/VideoOverlayFrame.h"
#include "offline/vod/IVODTranscoder.h"
#include "platform/CodedBlock.h"
#include "platform/FreeDeleter.h"
#include "session/HardwareAvailability.h"
#include "session/MediaStreamContext.h"
#include "session/TranscoderSessionBase.h"
#include "session/TranscoderVideoDecoderFrameInfo.h"

namespace qvs {

class HardwareInspector;
enum class PluginPath : uint32_t;
struct TranscoderVideoDecoderCaptureInfo;

/// The whole media pipeline of one stream. Runs on the caller's thread; calls on one side must not overlap,
/// while the video and the audio side may run on two threads.
///
/// Results are 0 for success, 0xFFFFFFFF for failure, or the number of the stage that an operation forwards
/// to. Nothing is thrown out of an operation. Indices that name nothing fail. Pointers for results must not
/// be null.
///
/// Order of calls: `initialize`; `videoDecoderCreate`, its parameters, `videoDecoderInitialize`;
/// `videoScalerCreate`, `videoScalerSetImplementation2`, `setVideoScalerFlags`; `videoDecoderBuffersCreate`;
/// `videoEncoderBufferSetsCreate`; per rendition `videoEncoderAdd`, the encoder's settings,
/// `videoEncoderSetFrameIndex`, `videoEncoderBufferSetAlloc`, `videoEncoderBufferAdd`, rectangles,
/// `videoEncoderInitialize`; `videoScalerInitialize`; `videoDecoderDecodeCodecConfig`; then the frames.
class TranscoderSession : public TranscoderSessionBase {
 public:
  static constexpr uint32_t kNoDecodedFrame = 0xFFFFFFFFu;

  TranscoderSession();
  ~TranscoderSession() override;

  /// Copies paths and availability from the inventory and logs them. Always 0.
  uint32_t initialize();
  uint32_t resetPipeline();

  /// The handle by which hosts and listeners name this session.
  int64_t getSessionId() const { return reinterpret_cast<int64_t>(this); }
  MediaStreamContext* getMediaStreamContext() { return &mediaStreamContext; }
  const HardwareAvailability& getAvailability() const { return availability; }

  // Video decoder: life and settings.
  uint32_t videoDecoderCreate(uint32_t decoderType, uint32_t codec, uint32_t codecVersion, uint32_t bitDepth,
                              uint32_t implementation, uint32_t fourcc);
  uint32_t videoDecoderBuffersCreate(uint32_t count);
  uint32_t videoDecoderSetGPUID(int32_t gpuid);
  uint32_t videoDecoderSetCaptureDevice(int32_t deviceId);
  uint32_t videoDecoderGetCaptureInfo(TranscoderVideoDecoderCaptureInfo* info);
  uint32_t videoDecoderInitialize();

  /// A limit of 0 switches that test off.
  uint32_t videoDecoderSetFrameSizeLimits(uint32_t widthMax, uint32_t heightMax, uint32_t widthMin,
                                          uint32_t heightMin);

  // Video decoder: per frame.
  uint32_t videoDecoderDecodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len);

  /// Takes the block over, whatever the result, and gives the decoder its bytes. They stay valid until the
  /// decoder has been given the next block; a decoder that queues keeps what it still needs by then.
  uint32_t videoDecoderAddFrame(CodedBlock block, uint64_t timecode, uint32_t frameType);

  /// One decode step into pool entry `bufferIndex`. `ancillaryData` is appended to; `frameInfo` comes zeroed.
  uint32_t videoDecoderDecode(uint32_t bufferIndex, uint32_t* decoderStatus, uint64_t* timecode,
                              std::vector<VideoFrameAncillaryData>& ancillaryData,
                              TranscoderVideoDecoderFrameInfo& frameInfo);
  uint32_t videoDecoderGetFrame(uint32_t bufferIndex, uint64_t* timecode);
  uint32_t videoDecoderBufferAllocate(uint32_t* bufferIndex);
  uint32_t videoDecoderBufferAcquire(uint32_t bufferIndex);
  uint32_t videoDecoderBufferRelease(uint32_t bufferIndex);

  /// Takes ownership of `frame`; null clears the slot.
  uint32_t videoDecoderBufferSetOverlayVideoFrame(uint32_t overlayIndex, VideoOverlayFrame* frame);
  uint32_t videoDecoderTransferFrameStart(uint32_t decoderBufferIndex,
                                          std::span<const uint32_t> encoderBufferIndexes);
  uint32_t videoDecoderTransferFrame(uint32_t decoderFrameIndex, uint32_t encoderFrameIndex,
                                     uint32_t encoderIndex);

  /// `buffer` null: only length and size are told; pointing to null: malloc'ed bytes that the caller frees.
  /// Width and height come as the size wanted, 0 for the frame's own. `buffer`, `len` and `timecode` may be
  /// null.
  uint32_t videoDecoderGetFrameBGRA(uint32_t bufferIndex, uint8_t** buffer, uint32_t* len, uint32_t* width,
                                    uint32_t* height, uint64_t* timecode);

  // Video scaler.
  uint32_t videoScalerCreate(uint32_t fourcc, uint32_t bitDepth);
  uint32_t videoScalerSetImplementation2(uint32_t implementation, int32_t gpuid);
  uint32_t videoScalerSetSource(uint32_t width, uint32_t height, double rate);
  uint32_t videoScalerAddScaling(uint32_t width, uint32_t height, double rate, uint32_t scaleIndex,
                                 bool stableFramerate);
  uint32_t videoScalerInitialize();
  /// Status: 1 always, 2 the targets hold a picture, 4 the source was lost.
  /// `decoderFrameIndex` may be kNoDecodedFrame: what is still on its way in a scaler that works in a pipeline.
  uint32_t videoScalerScaleFrame(uint32_t decoderFrameIndex, std::span<const uint32_t> encoderBufferIndexes,
                                 uint32_t encoderCount, uint32_t* scalerStatus);
  uint32_t videoScalerFreeFrame(uint32_t decodeFrameIndex);

  // Video encoders: pools.
  uint32_t videoEncoderBufferSetsCreate(uint32_t bufferCount);
  uint32_t videoEncoderBufferSetAlloc(uint32_t* indexBuffer);
  uint32_t videoEncoderBufferAdd(uint32_t width, uint32_t height, uint32_t fitMode, uint32_t fourcc,
                                 uint32_t scaleMode, uint32_t indexBuffer);
  uint32_t videoEncoderBufferAllocate(uint32_t setIndex, uint32_t* bufferIndex);
  uint32_t videoEncoderBufferAcquire(uint32_t setIndex, uint32_t bufferIndex);
  uint32_t videoEncoderBufferRelease(uint32_t setIndex, uint32_t bufferIndex);

  /// Takes ownership of `frame`; null clears the slot.
  uint32_t videoEncoderBufferSetOverlayVideoFrame(uint32_t setIndex, uint32_t overlayIndex,
                                                  VideoOverlayFrame* frame);

  /// Four values, or null to clear: left, right, top, bottom for crop and padding; x, y, width, height for
  /// the rectangles. The result carries no information.
  uint32_t videoEncoderSetCrop(uint32_t setIndex, const uint32_t* rect);
  uint32_t videoEncoderSetSrcRect(uint32_t setIndex, const uint32_t* rect);
  uint32_t videoEncoderSetPadding(uint32_t setIndex, const uint32_t* rect);
  uint32_t videoEncoderSetDstRect(uint32_t setIndex, const uint32_t* rect);

  /// As for the decoder's pool.
  uint32_t videoEncoderGetFrameBGRA(uint32_t setIndex, uint32_t bufferIndex, uint8_t** buffer, uint32_t* len,
                                    uint32_t* width, uint32_t* height, uint64_t* timecode);

  // Video encoders: life and settings.

  /// A slot named by `indexEncoder` is replaced; any other value appends and receives the new index.
  uint32_t videoEncoderAdd(uint32_t codec, uint32_t codecVersion, uint32_t bitDepth, uint32_t fourcc,
                           uint32_t implementation, int32_t* indexEncoder);
  uint32_t videoEncoderSetDefaults(uint32_t indexEncoder, int32_t videoType, int32_t pal);
  uint32_t videoEncoderSetBitrate(uint32_t indexEncoder, uint32_t bitrate);     ///< bits per second
  uint32_t videoEncoderUpdateBitrate(uint32_t indexEncoder, uint32_t bitrate);  ///< bits per second
  uint32_t videoEncoderSetFrameSize(uint32_t indexEncoder, uint32_t width, uint32_t height);
  uint32_t videoEncoderSetFrameIndex(uint32_t indexEncoder, int32_t frameIndex);
  uint32_t videoEncoderSetKeyFrameFollow(uint32_t indexEncoder, uint8_t keyFrameFollow);
  uint32_t videoEncoderSetFrameRate(uint32_t indexEncoder, double frameRate);
  uint32_t videoEncoderSetGPUID(uint32_t indexEncoder, int32_t gpuid);
  uint32_t videoEncoderInitialize(uint32_t indexEncoder);

  // Video encoders: per frame.
  uint32_t videoEncoderAddFrame(uint32_t indexEncoder, uint32_t indexBuffer, uint32_t setIndex,
                                uint32_t frameType, uint64_t timecode);
  uint32_t videoEncoderSkipFrame(uint32_t indexEncoder, uint32_t indexBuffer, uint32_t setIndex,
                                 uint32_t frameType, uint64_t timecode);

  /// Appends the units that are ready.
  uint32_t videoEncoderGetEncodedFrames(uint32_t indexEncoder, EncodedVideoUnits& encodedFrames);

  // Parameter values. Without the decoder or encoder: 0.
  uint32_t videoDecoderApplyParameters();
  uint32_t videoDecoderSetParameterValueLong(uint32_t index, int64_t value);
  uint32_t videoDecoderSetParameterValueLongArray(uint32_t index, int64_t* values, uint32_t len);
  uint32_t videoDecoderSetParameterValueDouble(uint32_t index, double value);
  uint32_t videoDecoderSetParameterValueDoubleArray(uint32_t index, double* values, uint32_t len);
  uint32_t videoDecoderGetParameterValueType(uint32_t index, uint32_t* arrayLength);
  uint32_t videoDecoderGetParameterValueLong(uint32_t index, int64_t* value);
  uint32_t videoDecoderGetParameterValueLongArray(uint32_t index, int64_t* values, uint32_t* len);
  uint32_t videoDecoderGetParameterValueDouble(uint32_t index, double* value);
  uint32_t videoDecoderGetParameterValueDoubleArray(uint32_t index, double* values, uint32_t* len);
  uint32_t videoEncoderApplyParameters(uint32_t indexEncoder);
  uint32_t videoEncoderSetParameterValueLong(uint32_t indexEncoder, uint32_t index, int64_t value);
  uint32_t videoEncoderSetParameterValueLongArray(uint32_t indexEncoder, uint32_t index, int64_t* values,
                                                  uint32_t len);
  uint32_t videoEncoderSetParameterValueDouble(uint32_t indexEncoder, uint32_t index, double value);
  uint32_t videoEncoderSetParameterValueDoubleArray(uint32_t indexEncoder, uint32_t index, double* values,
                                                    uint32_t len);
  uint32_t videoEncoderGetParameterValueType(uint32_t indexEncoder, uint32_t index, uint32_t* arrayLength);
  uint32_t videoEncoderGetParameterValueLong(uint32_t indexEncoder, uint32_t index, int64_t* value);
  uint32_t videoEncoderGetParameterValueLongArray(uint32_t indexEncoder, uint32_t index, int64_t* values,
                                                  uint32_t* len);
  uint32_t videoEncoderGetParameterValueDouble(uint32_t indexEncoder, uint32_t index, double* value);
  uint32_t videoEncoderGetParameterValueDoubleArray(uint32_t indexEncoder, uint32_t index, double* values,
                                                    uint32_t* len);

  // Audio decoder.
  uint32_t audioDecoderCreate(uint32_t decoderType, uint32_t codec, uint32_t implementation);
  uint32_t audioDecoderBuffersCreate(uint32_t count);
  uint32_t audioDecoderBuffersAllocate(uint32_t sampleCount, uint32_t channels, uint32_t sampleRate);
  uint32_t audioDecoderSetCaptureDevice(int32_t deviceId);
  uint32_t audioDecoderInitialize();
  uint32_t audioDecoderGetSampleRate(uint32_t* sampleRate);
  uint32_t audioDecoderGetChannels(uint32_t* channels);
  uint32_t audioDecoderDecodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len);
  uint32_t audioDecoderIsFirstFrameDecoded();
  uint32_t audioDecoderDecodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len);

  /// `timecode` in milliseconds.
  uint32_t audioDecoderDecodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                   uint32_t indexBuffer);
  uint32_t audioDecoderCaptureFrame(uint32_t indexBuffer, uint32_t* decodeStatus, int64_t* timecode);
  uint32_t audioDecoderResampleFrame(uint64_t timecode, uint32_t indexBuffer);
  uint32_t audioDecoderResetDecodedFrameState();

  /// Room in front of every coded audio frame, bytes.
  uint32_t getAudioDecodeFrameHeaderSize() const { return audioDecodeFrameHeaderSize; }

  /// A scratch block of at least `size` bytes that only grows; the session's. Null when memory failed.
  uint8_t* getAudioDecoderWorkingBuffer(uint32_t size);

  // Audio encoders.
  uint32_t audioEncoderAdd(uint32_t codec, uint32_t implementation, int32_t* indexEncoder);
  uint32_t audioEncoderSetSampleRate(uint32_t indexEncoder, uint32_t sampleRate);
  uint32_t audioEncoderSetChannels(uint32_t indexEncoder, uint32_t channels);
  uint32_t audioEncoderSetQuality(uint32_t indexEncoder, double quality);
  uint32_t audioEncoderSetBitrate(uint32_t indexEncoder, uint32_t bitrate);  ///< bits per second
  uint32_t audioEncoderInitialize(uint32_t indexEncoder);

  /// The bytes stay the encoder's.
  uint32_t audioEncoderGetHeaders(uint32_t indexEncoder, std::vector<AudioFrameEncoded>& frames);
  uint32_t audioEncoderEncodeBufferStart(uint32_t indexEncoder, uint32_t indexBuffer);
  uint32_t audioEncoderResampleFrame(uint32_t indexEncoder, uint32_t indexBuffer);

  uint32_t audioEncoderAddSampleBuffer(uint32_t indexEncoder, uint32_t indexBuffer,
                                       EncodedAudioUnits& frames);
  uint32_t audioEncoderEncodeBufferDone(uint32_t indexEncoder, uint32_t indexBuffer);

  // Off-line work. A batch reads the session and changes nothing of it but the log: it may run beside other calls.

  /// One batch through whatever hardware there is; what comes out holds arrays of the allocator. No hardware: failure.
  uint32_t vodTranscoderTranscodeFrames(JNIAllocator* allocator, VODTranscoderVideoSettings& settings,
                                        const std::vector<VideoFrameEncoded>& inFrames,
                                        std::vector<VideoFrameEncoded>& outFrames);
  uint32_t vodTranscoderGetCodecConfig(JNIAllocator* allocator, VODTranscoderVideoSettings& settings,
                                       VideoFrameEncoded& codecConfigFrame);

 protected:
  static constexpr size_t kPathSize = 512;
  using Path = std::array<char, kPathSize>;

  /// What `initialize` does with the machine's inventory.
  void initializeFrom(const HardwareInspector& inspector);

  /// Null without hardware that does it.
  std::unique_ptr<IVODTranscoder> createVODTranscoder(const VODTranscoderVideoSettings& settings);

  HardwareAvailability availability;

 private:
  // Beyond it a count is a mistake: the frames alone would take gigabytes before they hold a picture.
  static constexpr uint32_t kPoolFramesMax = 65536;
  static constexpr uint32_t kScalerTargetsMax = 8;

  void copyInventory(const HardwareInspector& inspector);
  void logInventory(const HardwareInspector& inspector);
  char* pluginPath(PluginPath path);
  std::unique_ptr<IVODTranscoder> readyVODTranscoder(const char* label, JNIAllocator* allocator,
                                                     const VODTranscoderVideoSettings& settings);
  bool isDecoderFrameSizeValid(uint32_t width, uint32_t height) const;
  uint32_t fetchDecodedFrame(VideoFrameBuffer& frame, uint64_t* timecode,
                             std::vector<VideoFrameAncillaryData>& ancillaryData,
                             TranscoderVideoDecoderFrameInfo& frameInfo);
  void logFrameSize(const TranscoderVideoDecoderFrameInfo& info, const VideoFrameBuffer& frame);
  uint32_t reportFrameSizeOutOfRange(uint32_t width, uint32_t height);
  int32_t videoEncoderGetEncoderFrameIndex(uint32_t frameIndex) const;
  void prepareFractionalFrames(VideoFrameBuffer& frame, std::span<const uint32_t> encoderBufferIndexes);
  bool gatherScalerTargets(const VideoFrameBuffer* source, std::span<const uint32_t> encoderBufferIndexes);
  /// Null, and told, where there is no such frame.
  VideoFrameBuffer* targetFrame(const char* label, uint32_t setIndex, uint32_t bufferIndex);
  void dropVideoScaler();
  void createVideoScaler(int32_t gpuid);
  uint32_t carryCaptions(uint32_t indexEncoder, bool wanted);
  bool isVideoEncoderSlot(int32_t indexEncoder) const;
  void clearVideoEncoderSlot(int32_t indexEncoder);
  int32_t storeVideoEncoder(std::unique_ptr<IVideoEncoder> encoder, int32_t indexEncoder);
  static uint32_t resampleRendition(AudioEncoderWrapper& rendition);

  Path nativePath{};
  Path quicksyncPath{};
  Path vaapiPath{};
  uint32_t videoDecoderFourcc = fourcc("YV12");
  uint32_t videoEncoderFourcc = 0;  ///< of the last encoder added, for all sets
  uint32_t videoScalerFourcc = 0;
  uint32_t videoScalerBitDepth = 0;
  uint8_t videoDecoderFrameBuffersInited =
      0;  ///< the first codec configuration wires the pool, later ones don't
  uint32_t audioDecoderFormat = 2;
  CodedBlock currVideoDecodeBuffer;  ///< what the decoder works on
  uint32_t audioDecodeFrameHeaderSize = 0;
  uint32_t lastDecodeWidth = 0;
  uint32_t lastDecodeHeight = 0;
  uint64_t decodeFrameCount = 0;
  uint32_t decoderFrameSizeWidthMax = 8192;
  uint32_t decoderFrameSizeWidthMin = 32;
  uint32_t decoderFrameSizeHeightMax = 4320;
  uint32_t decoderFrameSizeHeightMin = 32;
  uint8_t decoderFrameSizeReportOutOfRange = 1;  ///< one line per run of bad frames
  std::unique_ptr<uint8_t, FreeDeleter> audioDecoderWorkingBuffer;
  uint32_t audioDecoderWorkingBufferLen = 0;
  std::vector<VideoScalerTarget> scalerTargets;  ///< kept between pictures
  MediaStreamContext mediaStreamContext;
};

}  // namespace qvs
