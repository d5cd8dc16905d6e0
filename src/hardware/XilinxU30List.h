#pragma once

#include <set>
#include <string>
#include <vector>

#include "contract/HardwareInfo.h"

namespace qvs {

/// What the cards' administration tool lists: plug-ins, kernels, devices and firmware.
class XilinxU30List {
 public:
  /// More of its output than this is not read.
  static constexpr size_t kOutputMax = size_t{4} << 20;

  /// The output of a program with its arguments, started without a shell; empty where it can't be started. Cut, and
  /// told, at kOutputMax.
  static std::string exec(const std::vector<std::string>& command);
  /// Runs the tool; empty, at once, on a machine without it.
  static std::string xilinxList();
  /// What the first group of the expression matched, without the empty ones. Needs time in proportion to the text, and
  /// memory that doesn't grow with it.
  static std::set<std::string> parseJson(const std::string& text, const std::string& expression);
  /// Fills in all but versions and flags.
  static void read(const std::string& text, HardwareInfoU30* info);
};

}  // namespace qvs
