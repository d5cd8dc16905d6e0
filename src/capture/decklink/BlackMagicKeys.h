#pragma once

#include <cstdint>

namespace qvs {

/// Whose a parameter is.
enum class BlackMagicKeyOwner : uint8_t { kAttribute, kConfiguration, kDevice, kNobody };
enum class BlackMagicKeyType : uint8_t { kFlag, kInt, kFloat, kString };

/// A parameter of a card: a host's key, and what the driver calls it.
struct BlackMagicKeyRow {
  uint32_t key;
  BlackMagicKeyOwner owner;
  BlackMagicKeyType type;
  uint32_t id;  ///< the driver's, of attributes and settings

  bool isLong() const { return type == BlackMagicKeyType::kFlag || type == BlackMagicKeyType::kInt; }
};

/// Keys of what the device keeps by itself.
enum BlackMagicOwnKey : uint32_t {
  kKeyVolumeLevel = 130070,
  kKeyEmptyFrameWidth = 130114,
  kKeyEmptyFrameHeight = 130115,
  kKeyAudioCaptureChannelCount = 130116,
  kKeyDeinterlaceMode = 130117,
  kKeyGpuid = 130118,
};

/// Null for a key that isn't known.
const BlackMagicKeyRow* findBlackMagicKey(uint32_t key);

}  // namespace qvs
