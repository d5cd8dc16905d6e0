#pragma once

namespace qvs {

/// The process's handle on Intel's display interface. Made at start-up so that no two threads race to make
/// it; no display is opened before a back end works on Intel surfaces.
class IntelDRMSingleton {
 public:
  static IntelDRMSingleton* getInstance();

  /// The display, null while none is open.
  void* getDisplay() const { return va_dpy; }

 private:
  IntelDRMSingleton() = default;

  void* va_dpy = nullptr;
};

}  // namespace qvs
