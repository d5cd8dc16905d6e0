#pragma once

#include <cstdint>

namespace qvs {

/// The process's handle on Intel's display interface. Made at start-up so that no two threads race to make
/// it. No display is opened and no picture made: the plug-ins reach the hardware by themselves.
class IntelDRMSingleton {
 public:
  static IntelDRMSingleton* getInstance();

  /// The display, null while none is open.
  void* getDisplay() const { return va_dpy; }

  void* createImageRGBA(uint32_t, uint32_t) { return nullptr; }
  void* createImageYV12(uint32_t, uint32_t) { return nullptr; }
  void* createSurfaceRGB32(uint32_t, uint32_t) { return nullptr; }
  uint32_t copyImage(void*, void*) { return 0; }
  uint32_t putImage(void*, void*) { return 0; }
  uint32_t getImage(void*, void*) { return 0; }

 private:
  IntelDRMSingleton() = default;

  void* va_dpy = nullptr;
};

}  // namespace qvs
