#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "mc_audio.h"

namespace qvs::mc {

enum class HeaderVerdict {
  kFrame,    ///< a frame of known length begins here
  kNoFrame,  ///< none begins here
  kRefused,  ///< a frame that this decoder doesn't serve begins here
};

/// One family of coded audio: how its frames are told apart, and who decodes them.
struct FrameFormat {
  const char* name;         ///< in messages
  const char* codecName;    ///< libavcodec's decoder
  const char* refusedText;  ///< why HeaderVerdict::kRefused
  uint32_t configBytes;     ///< size of its configuration record
  size_t headerBytes;       ///< that `readHeader` and `tagBytes` look at; no frame is shorter

  /// Fills `header` and the frame's length in bytes, header included, on kFrame.
  HeaderVerdict (*readHeader)(const uint8_t* bytes, mc_aud_frame_hdr_t& header, size_t& frameBytes);

  /// Length of a file's tag that begins here, 0 where none does.
  size_t (*tagBytes)(const uint8_t* bytes);

  /// Whether a whole frame holds audio; a table of contents doesn't.
  bool (*holdsAudio)(std::span<const uint8_t> frame, const mc_aud_frame_hdr_t& header);
};

extern const FrameFormat kAdtsFormat;
extern const FrameFormat kMpegAudioFormat;

/// No frame of either family is longer.
inline constexpr size_t kMaxFrameBytes = 8191;

}  // namespace qvs::mc
