#pragma once

#include <va/va.h>

#include <string>

#include "Outcome.h"

namespace qvs::vaapi {

/// An open render node with libva on it.
class VaDisplay {
 public:
  VaDisplay() = default;
  ~VaDisplay() { close(); }
  VaDisplay(const VaDisplay&) = delete;
  VaDisplay& operator=(const VaDisplay&) = delete;

  /// Render nodes are numbered from 0, as GPU ids are.
  static constexpr int kNodes = 64;
  static std::string nodePath(int number);
  static bool exists(int number);

  Outcome open(int number);
  void close();

  VADisplay handle() const { return display; }
  int major = 0;  ///< of libva's interface
  int minor = 0;

 private:
  int node = -1;
  VADisplay display = nullptr;
};

}  // namespace qvs::vaapi
