#pragma once

#include <string>

namespace qvs {

class HardwareInspector;

/// Writes the inventory as JSON: no white space, no escaping. Sections that are present open with the key "availabe",
/// misspelt as hosts expect it; absent sections, the U30 and the intrinsic scaler use "available".
class HardwareReport {
 public:
  static std::string write(const HardwareInspector& inspector);
};

}  // namespace qvs
