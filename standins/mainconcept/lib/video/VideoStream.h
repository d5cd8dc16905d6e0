#pragma once

#include <array>
#include <cstdint>

#include "mc_bufstream.h"
#include "mc_dec_video.h"
#include "mc_frame.h"
#include "video/CodecContext.h"
#include "video/Deinterlacer.h"
#include "video/FieldPairing.h"
#include "video/HeaderReaders.h"
#include "video/PictureWriter.h"
#include "video/UnitBuffer.h"

namespace qvs::mc {

/// How aspect_ratio_width and aspect_ratio_height are meant.
enum class AspectKind { kPicture, kPixel, kCode };

/// What tells one video codec from another.
struct VideoCodecRow {
  AVCodecID codec;
  HeaderReader readHeader;
  AspectKind aspect;
  bool headerIsStream;  ///< the configuration stays valid for the pictures behind it
  /// Whether the byte behind a start code begins a picture, or a group of them: a configuration ends there. Null:
  /// nothing does.
  bool (*startsPicture)(uint8_t code) = nullptr;
};

/// A decoder behind a stream record: gathers the pieces of a unit, decodes it when it is whole, keeps the
/// picture until the next unit, and answers the command channel. A unit is whole when END_OF_UNIT says so or
/// the next time record arrives.
class VideoStream {
 public:
  explicit VideoStream(const VideoCodecRow& row);

  bufstream_tt* stream() { return &table; }

  uint32_t copyBytes(const uint8_t* bytes, uint32_t size);
  uint32_t command(uint32_t value, uint32_t code, void* data, uint32_t size);

 private:
  /// A record of the host that travels with a unit. Its layout is the host's.
  struct HostRecord {
    alignas(8) std::array<uint8_t, 24> bytes{};
    bool set = false;
    bool damaged = false;  ///< the picture lacks a field
  };
  static constexpr size_t kUnitsInFlight = 64;  ///< more than any codec holds back
  /// Bytes that are searched again for a header that may reach into the next ones.
  static constexpr size_t kHeaderMax = 16384;

  bool openCodec();
  void beginUnit(const void* record, uint32_t size);
  void endUnit();
  void dropLoneField();
  uint32_t drain();
  void announce(CodecResult result);
  void announcePicture();
  bool readHeader();
  void cutHeader();
  void describeSequence(const SequenceInfo& info);
  uint32_t cleanState();
  uint32_t parseFed();
  uint32_t writePicture(uint32_t value, mc_frame_t* target);
  const AVFrame* chooseField(uint32_t value);

  const VideoCodecRow& row;
  mc_bufstream_t table{};
  CodecOptions options;
  uint32_t parseOptions = 0;
  bool headerPhase = false;
  bool failed = false;  ///< the codec can't be opened
  uint32_t state = 0;   ///< bits since the last time they were cleared
  UnitBuffer header;
  UnitBuffer unit;
  CodecContext codec;
  FieldPairing pairing;
  Deinterlacer deinterlacer;
  PictureWriter writer;
  bool pictureReady = false;
  bool fieldsReady = false;  ///< the deinterlacer has the current picture
  Deinterlacer::Rate fieldsRate = Deinterlacer::Rate::kSingle;
  SequenceInfo sequence;
  bool sequenceKnown = false;
  int32_t aspectCode = 0;
  mc_seq_params_t sequenceSize{};
  mc_seq_params_ex_t sequenceParams{};
  mc_pic_params_ex_t pictureParams{};
  HostRecord lastRecord;                           ///< of units that bring none
  std::array<HostRecord, kUnitsInFlight> records;  ///< by unit number
  HostRecord pictureRecord;
  int64_t unitNumber = 0;
};

}  // namespace qvs::mc
