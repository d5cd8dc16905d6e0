#pragma once

namespace qvs {

class CaptureManager;

/// The process's handle on Intel's OpenCL; none is opened.
class IntelOpenCLSingleton {
 public:
  /// Made on the first call, whose `manager` is not kept.
  static IntelOpenCLSingleton* getInstance(CaptureManager* manager);

  void* getContext() const { return olcContext; }
  void* getImage() const { return olcImage; }
  bool isOpen() const { return openclOpen; }

 private:
  IntelOpenCLSingleton() = default;

  void* olcContext = nullptr;
  void* olcImage = nullptr;
  bool openclOpen = false;
};

}  // namespace qvs
