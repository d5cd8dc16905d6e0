#pragma once

#include <mc_dec_video.h>
#include <mc_frame.h>

#include <memory>
#include <span>
#include <string>

#include "bufstream/BufStreamDecoder.h"
#include "platform/ParameterTable.h"
#include "platform/RingQueue.h"
#include "video/decoders/BufStreamCodec.h"
#include "video/decoders/ByteBlock.h"
#include "video/decoders/VideoDecoderBase.h"

namespace qvs {

/// A decoder whose back end is a stream record with a command channel: one driver for all of them; what
/// differs is a BufStreamCodec and a few hooks.
///
/// `decode` feeds blocks until the back end has finished a picture or the list has run dry. Pictures come in
/// presentation order, each with the time and type that were attached to its unit; a codec that reorders
/// holds some back.
class VideoDecoderBufferStream : public WithParameters<VideoDecoderBufferStream, VideoDecoderBase> {
 public:
  /// Parameter keys; a class answers to those that it serves. They take effect with the first configuration.
  enum Key : uint32_t {
    kKeyDeinterlace = 0,
    kKeyDeinterlaceDoubleRate = 1,
    kKeyOptCPUNum = 10000,
    kKeyOptSMPMode = 10001,
    kKeyOptACCMode = 10002,
    kKeyMaxTemporalLayer = 10003,
    kKeyLoopFilter = 10004,
    kKeyOutput8Bit = 10005,
    kKeyMvPrecision = 10006,
    kKeyDpbSize = 10007,
    kKeyEc = 10008,
    /// Extension: non-zero makes a `decode` with an empty list hand out what the back end still holds.
    kKeyEndOfStream = 100200,
  };

  ~VideoDecoderBufferStream() override;

  using VideoDecoderBase::decode;
  using Parameter = ParameterRow<VideoDecoderBufferStream>;

  uint32_t initialize() override;
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t close() override;
  uint32_t decode(uint32_t* flags) override;
  uint8_t isFrameDone() override { return bufferList.empty() ? 1 : 0; }
  uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                               uint32_t* displayHeight) override;
  uint32_t getDecodedFrame(VideoFrameBuffer& target) override;
  const Parameter* parameterOf(uint32_t key) const;

  /// Takes what the back end still holds at the end of a stream: one picture a call, reported in `flags` as
  /// by `decode`; DecodeFlagFlushed when nothing further comes.
  uint32_t flush(uint32_t* flags);

 protected:
  explicit VideoDecoderBufferStream(const BufStreamCodec& row);

  /// A new back end, or null.
  virtual bufstream_tt* createBackEnd(callbacks_t* callbacks) = 0;
  /// Display size from the stream's description.
  virtual void readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height) const = 0;
  /// How the log line of `updateDecodeInfo` begins: the aspect.
  virtual std::string describeAspect(const mc_seq_params_ex_t& info) const = 0;
  /// The row of a key that not all of the codecs have.
  virtual const Parameter* codecParameter(uint32_t) const { return nullptr; }

  void sendWorkers();
  /// The value that asks the back end to deinterlace; 0 when off.
  uint32_t deinterlaceOption() const;
  /// Set-up of codecs whose configuration is a header of the stream itself. `suffix`: bytes behind it that
  /// make the parser finish. -2 where it isn't understood, -3 without memory.
  uint32_t setUpWithHeader(ParameterSets::View record, std::span<const uint8_t> suffix);
  /// Replaces the stored parameter sets that `read` has, and the length size; queued blocks that point into
  /// an old set move to the new one.
  void storeSets(ParameterSets read);
  uint32_t updateDecodeInfo();
  /// Reads the state after the header and, where it was understood, finishes the set-up; -2 otherwise.
  uint32_t finishSetUp(uint32_t state);

  /// The bytes of a configuration record; none for null.
  static ParameterSets::View recordOf(const uint8_t* buffer, uint32_t offset, uint32_t len) {
    return buffer != nullptr ? ParameterSets::View{buffer + offset, len} : ParameterSets::View{};
  }

  const BufStreamCodec& row;
  BufStreamDecoder vid_dec{kAbortAtEnd};
  RingQueue<ByteBlock> bufferList;
  uint8_t displayInfo = 1;  ///< the next stream information is to be logged
  uint8_t isFirstCodecConfig = 1;
  int optCPUNum = 4;
  int optSMPMode = 1;
  int optACCMode = -1;  ///< negative: not sent

 private:
  static constexpr uint32_t kRoundsMax = 100;
  static constexpr int32_t kAbortAtEnd = 1;

  uint32_t decodeProcess(uint32_t* flags, bool flushing);
  void decodeStep(uint32_t* flags, bool flushing);
  uint32_t feedFront();
  void sendRecord(ByteBlock& block);
  void takeDoneState(uint32_t state, uint32_t* flags);
  void takePicture();
  void takeRecord();
  void takePictureFlags();
  uint32_t fetchDoubleRate(mc_frame_t& frame, bool second, uint64_t* timecode);
  void logDecodeInfo(const mc_seq_params_ex_t& info);

  callbacks_t callbacks{};
  uint64_t lastGetFrameTC = ~uint64_t{0};     ///< timecode of the last picture fetched
  uint64_t lastFramesDecoded = ~uint64_t{0};  ///< `framesDecoded` at the last fetch
  uint32_t endOfStream = 0;
};

}  // namespace qvs
