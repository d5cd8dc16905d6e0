#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qvs {

/// The parameter sets of an H.264 or H.265 stream, one of each kind, as a configuration record brings them.
/// Each stands behind a start code of four bytes, ready to be spliced into an Annex B stream; an empty one is
/// not there.
struct ParameterSets {
  using Bytes = std::vector<uint8_t>;
  using View = std::span<const uint8_t>;

  static constexpr uint32_t kStartCodeLength = 4;

  /// What in a record reaches past its end; `field` is null where nothing does.
  struct Overrun {
    const char* field = nullptr;
    uint32_t value = 0;
  };

  Bytes vpsFrame;  ///< H.265 alone
  Bytes spsFrame;
  Bytes ppsFrame;
  uint32_t nalUnitLen = 4;  ///< bytes of a NAL unit's length, 1 to 4

  /// Takes the first set of each kind of an AVC decoder configuration record; where one overruns it, only the
  /// length size is taken.
  Overrun readAvcRecord(View record);

  /// Takes the last set of each kind of an HEVC decoder configuration record; a record that is cut short
  /// gives what it holds.
  void readHevcRecord(View record);

  /// All sets behind their start codes, in the order of a stream.
  Bytes annexB() const;

  /// An AVC decoder configuration record for lengths of `nalUnitLen`. Empty without both sets, for a sequence
  /// parameter set of four bytes or less, or where one is too long for its 16-bit length.
  Bytes avcRecord() const;

  /// A set as a stream has it.
  static Bytes withStartCode(View set);
};

}  // namespace qvs
