#pragma once

#include <va/va.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "FrameRate.h"
#include "Outcome.h"

namespace qvs::vaapi {

/// What the stream tells of its samples, by the numbers of the standards; 2: nothing.
struct ColorDescription {
  uint32_t primaries = 2;
  uint32_t transfer = 2;
  uint32_t matrix = 2;
  int fullRange = -1;  ///< -1: nothing

  bool isTold() const { return primaries != 2 || transfer != 2 || matrix != 2 || fullRange >= 0; }
};

/// The stream that is to be made, and what the driver wants of it.
struct StreamShape {
  uint32_t width = 0;
  uint32_t height = 0;
  plugins::FrameRate rate{25, 1};
  VAProfile profile = VAProfileNone;
  uint32_t level = 0;          ///< 0: by size and rate
  uint32_t bitsPerSecond = 0;  ///< highest; 0 with a constant QP
  uint32_t keyInterval = 250;
  uint32_t qp = 26;  ///< of constant QP, else what a picture starts from
  bool constantQp = false;
  ColorDescription color;
  bool lowDelayB = false;  ///< the driver takes no P slices: B slices with two equal lists stand for them
  uint32_t hevcFeatures = VA_ATTRIB_NOT_SUPPORTED;  ///< VAConfigAttribEncHEVCFeatures
  uint32_t hevcBlocks = VA_ATTRIB_NOT_SUPPORTED;    ///< VAConfigAttribEncHEVCBlockSizes
  uint32_t packed = 0;                              ///< headers that are given, VA_ENC_PACKED_HEADER_*
};

/// The picture at hand.
struct PictureState {
  bool key;
  uint32_t sinceKey;  ///< pictures behind the last key picture
  uint32_t keyNumber;
  VASurfaceID reconstructed;
  VASurfaceID reference;  ///< VA_INVALID_SURFACE for a key picture
  VABufferID coded;
};

/// One buffer of parameters: bytes that stay where they are until the next picture.
struct Parameter {
  VABufferType type;
  const void* data;
  uint32_t size;
};

/// The parameters of a picture in the order in which the driver gets them.
class ParameterList {
 public:
  template <typename Record>
  void add(VABufferType type, const Record& record) {
    entries[count++] = {type, &record, sizeof record};
  }
  void addPacked(VAEncPackedHeaderParameterBuffer& header, uint32_t type, std::span<const uint8_t> bytes,
                 uint32_t bits) {
    header = {};
    header.type = type;
    header.bit_length = bits;
    header.has_emulation_bytes = 1;
    add(VAEncPackedHeaderParameterBufferType, header);
    entries[count++] = {VAEncPackedHeaderDataBufferType, bytes.data(), static_cast<uint32_t>(bytes.size())};
  }
  void clear() { count = 0; }
  std::span<const Parameter> all() const { return {entries.data(), count}; }

 private:
  std::array<Parameter, 24> entries;
  size_t count = 0;
};

/// What a codec's parameters are to libva, a class each. A plug-in library has one.
class VaCodec {
 public:
  virtual ~VaCodec() = default;

  /// What the driver is asked of, best first.
  virtual std::span<const VAProfile> profiles(int64_t wanted) const = 0;
  virtual uint32_t maxQp() const = 0;
  virtual uint32_t defaultQp() const = 0;
  /// Whether a side may be odd; else the last column or row of such a picture is left out.
  virtual bool takesOddSides() const { return false; }
  /// Headers that can be made where the driver takes them.
  virtual uint32_t packedHeaders() const { return 0; }

  virtual void begin(const StreamShape& shape) = 0;
  /// A new bit rate, told by the parameters of the next key picture.
  virtual void setBitRate(uint32_t bitsPerSecond) = 0;
  /// Add the parameters of the stream, in front of a key picture, and of a picture; they live here.
  virtual void sequence(ParameterList& out) = 0;
  virtual void picture(const PictureState& state, ParameterList& out) = 0;

  /// The parameter sets in Annex B, empty where the codec has none, and whether a coded key picture brings its own.
  virtual std::span<const uint8_t> headers() const { return {}; }
  virtual bool hasHeaders(std::span<const uint8_t> coded) const = 0;
  virtual bool isAnnexB() const { return true; }
};

/// What tells one plug-in library from another.
struct CodecRow {
  const char* name;    ///< of the plug-in
  const char* codecs;  ///< as `describe` has it
  std::unique_ptr<VaCodec> (*make)();
};
extern const CodecRow kCodecRow;

}  // namespace qvs::vaapi
