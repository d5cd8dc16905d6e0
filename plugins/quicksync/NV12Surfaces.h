#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace qvs::plugins {

/// Surfaces in system memory that a runtime reads from or decodes into, all taken at once. The runtime counts its own
/// use of a surface; whoever needs one beyond that holds it.
class NV12Surfaces {
 public:
  /// False where there is no memory. What was there is given up: the runtime must have let go of it.
  bool allocate(const mfxFrameInfo& info, uint32_t count);
  void clear();

  /// A surface that neither the runtime nor anybody else uses; null while there is none.
  mfxFrameSurface1* findFree();

  void hold(const mfxFrameSurface1* surface) { ++held[indexOf(surface)]; }
  void release(const mfxFrameSurface1* surface) { --held[indexOf(surface)]; }

 private:
  size_t indexOf(const mfxFrameSurface1* surface) const {
    return static_cast<size_t>(surface - surfaces.data());
  }

  struct Free {
    void operator()(uint8_t* bytes) const;
  };
  std::unique_ptr<uint8_t[], Free> memory;
  std::vector<mfxFrameSurface1> surfaces;
  std::vector<mfxExtDecodedFrameInfo>
      decoded;                          ///< one a surface: the kind of picture that was decoded into it
  std::vector<mfxExtBuffer*> attached;  ///< one a surface
  std::vector<uint32_t> held;
  size_t next = 0;
};

/// The kind of picture in a decoded surface, as MFX_FRAMETYPE_ bits; 0 where the runtime doesn't tell.
uint16_t decodedFrameType(const mfxFrameSurface1& surface);

/// Bytes between two rows.
inline uint32_t pitchOf(const mfxFrameSurface1& surface) {
  return uint32_t{surface.Data.PitchHigh} << 16 | surface.Data.PitchLow;
}

}  // namespace qvs::plugins
