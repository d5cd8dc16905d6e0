#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "audio/IAudioDecoder.h"
#include "audio/IAudioEncoder.h"
#include "session/HardwareAvailability.h"
#include "video/decoders/IVideoDecoder.h"
#include "video/encoders/IVideoEncoder.h"

namespace qvs {

/// Which of a session's paths a class looks for its plug-in in.
enum class PluginPath : uint32_t { kNative, kQuickSync, kVaapi };

inline constexpr uint32_t kAnyImplementation = 0xFFFFFFFFu;
inline constexpr uint32_t kAnyBit = 0xFFFFFFFFu;

/// One class that can serve a codec. Tables of rows are tried top to bottom; the first that fits is taken.
template <typename Stage>
struct StageRow {
  uint32_t codec;
  uint32_t implementation;                         ///< the id a host names, or kAnyImplementation
  uint32_t HardwareAvailability::*word = nullptr;  ///< availability word that decides; null: always there
  uint32_t bits = 0;                               ///< that must all be set in it; kAnyBit: any will do
  PluginPath path = PluginPath::kNative;
  const char* className = "";
  const char* logText = "";                    ///< "{}" in it stands for the codec version
  std::unique_ptr<Stage> (*make)() = nullptr;  ///< null: the class is not part of this build

  /// What the class alone wants to know of the machine, such as how its hardware is reached; mostly null.
  void (*prepare)(Stage& stage, const HardwareAvailability& availability) = nullptr;

  /// A new object of the class, prepared; null where it is not part of this build.
  std::unique_ptr<Stage> create(const HardwareAvailability& availability) const;
  std::string logTextOf(uint32_t codecVersion) const;
};

using VideoDecoderRow = StageRow<IVideoDecoder>;
using VideoEncoderRow = StageRow<IVideoEncoder>;
using AudioDecoderRow = StageRow<IAudioDecoder>;
using AudioEncoderRow = StageRow<IAudioEncoder>;

/// The rows by which sessions choose their stages. Null: no row serves the codec.
class StageSelection {
 public:
  static const VideoDecoderRow* videoDecoder(uint32_t decoderType, uint32_t codec, uint32_t implementation,
                                             const HardwareAvailability& availability);
  static const VideoEncoderRow* videoEncoder(uint32_t codec, uint32_t implementation,
                                             const HardwareAvailability& availability);
  static const AudioDecoderRow* audioDecoder(uint32_t decoderType, uint32_t codec, uint32_t implementation);
  static const AudioEncoderRow* audioEncoder(uint32_t codec);
};

}  // namespace qvs
