#pragma once

#include <cstdint>

namespace qvs {

/// Bits of a decoder's status word: its whole report of one `decode`.
enum DecodeFlag : uint32_t {
  DecodeFlagInputDone = 0x01,       ///< everything that was added has been handed to the back end
  DecodeFlagPictureDone = 0x02,     ///< one picture was processed
  DecodeFlagFrameAvailable = 0x04,  ///< a picture is ready to be fetched
  DecodeFlagFrameNotReady = 0x08,   ///< the picture is not a complete valid frame and must not be fetched
  DecodeFlagFrameError = 0x10,      ///< decoded with errors, delivered all the same
  DecodeFlagInfoUpdated = 0x20,     ///< size or frame rate were read anew
  DecodeFlagAborted = 0x40,         ///< decoding of this input was given up
  DecodeFlagFlushed = 0x80,         ///< a flush pass found that nothing further comes
};

}  // namespace qvs
