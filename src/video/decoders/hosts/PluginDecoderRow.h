#pragma once

#include <cstdint>
#include <string>

#include "contract/HardwareInfo.h"
#include "plugin/PluginThread.h"

namespace qvs {

/// What tells one decoder plug-in host from another. All have the status texts of QuickSync's.
struct PluginDecoderRow {
  const char* className;   ///< of log lines
  const char* label;       ///< under which exceptions are printed
  uint32_t codec;          ///< at construction
  const char* library;     ///< file name in the directory of plug-ins, with the slash in front
  const char* libraryX11;  ///< taken with kHardwareAccessX11; null: there is one library
  const char* prefix = "zarvoVideoDecoder_";  ///< of the plug-in's symbols
  bool global = false;       ///< the library's symbols are for libraries that it loads itself
  bool tellsReason = false;  ///< the line about a library that isn't loaded says why
  bool tellsFourcc = true;   ///< the plug-in is told the format at once, and not by a key of its own
  uint32_t openingDeadline = PluginThread::kOpeningDeadline;  ///< milliseconds; 0: none

  /// The library's file, of the directory `path`, for this HardwareAccess.
  std::string libraryIn(const std::string& path, uint32_t access) const {
    return path + (access == kHardwareAccessX11 && libraryX11 != nullptr ? libraryX11 : library);
  }
};

/// Rows of the hosts, in the order of the docs.
extern const PluginDecoderRow kDecoderH264QuickSync;
extern const PluginDecoderRow kDecoderMP2QuickSync;
extern const PluginDecoderRow kDecoderH264U30;

}  // namespace qvs
