#pragma once

#include <cstdint>
#include <string>

#include "contract/HardwareInfo.h"

namespace qvs {

/// What tells one decoder plug-in host from another. All are QuickSync's, whose status texts they have.
struct PluginDecoderRow {
  const char* className;   ///< of log lines
  const char* label;       ///< under which exceptions are printed
  uint32_t codec;          ///< at construction
  const char* library;     ///< file name in the directory of plug-ins, with the slash in front
  const char* libraryX11;  ///< taken with kHardwareAccessX11

  /// The library's file, of the directory `path`, for this HardwareAccess.
  std::string libraryIn(const std::string& path, uint32_t access) const {
    return path + (access == kHardwareAccessX11 ? libraryX11 : library);
  }
};

/// Rows of the hosts, in the order of the docs.
extern const PluginDecoderRow kDecoderH264QuickSync;
extern const PluginDecoderRow kDecoderMP2QuickSync;

}  // namespace qvs
