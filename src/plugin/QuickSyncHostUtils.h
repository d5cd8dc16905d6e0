#pragma once

#include <cstdint>
#include <sstream>

namespace qvs {

/// Texts of the hosts of QuickSync plug-ins.
class QuickSyncHostUtils {
 public:
  /// Writes what a status means: those of all codec plug-ins, those of QuickSync alone, else the number, with the
  /// name that the vendor's interface gives it.
  static void resultToString(int32_t status, std::ostringstream& out);
};

}  // namespace qvs
