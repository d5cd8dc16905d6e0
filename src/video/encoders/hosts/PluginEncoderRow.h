#pragma once

#include <cstdint>
#include <string>

#include "contract/HardwareInfo.h"

namespace qvs {

/// What tells one encoder plug-in host from another.
struct PluginEncoderRow {
  const char* className;     ///< of log lines
  const char* label;         ///< under which exceptions are printed
  uint32_t codec;            ///< at construction
  const char* library;       ///< file name in the directory of plug-ins, with the slash in front
  const char* statusPrefix;  ///< behind "[{context}]: " of a status line
  const char*
      unknownStatus;  ///< the line's text for a status without a name; null: QuickSyncHostUtils tells it
  bool tellsCodec = false;                       ///< the plug-in serves more than one codec and is told which
  uint32_t hardwareAccess = kHardwareAccessAny;  ///< at construction
  const char* libraryX11 = nullptr;           ///< taken with kHardwareAccessX11; null: there is one library
  bool tellsPath = false;                     ///< the plug-in is told the directory of plug-ins
  const char* prefix = "zarvoVideoEncoder_";  ///< of the plug-in's symbols
  bool global = false;          ///< the library's symbols are for libraries that it loads itself
  bool strict = false;          ///< a set-up step that fails is named and is the call's result
  bool numberedStatus = false;  ///< a status line tells the number alone
  uint32_t openingDeadline =
      0;  ///< milliseconds that the making of a session may take; 0: as long as it likes

  /// The library's file, of the directory `path`, for this HardwareAccess.
  std::string libraryIn(const std::string& path, uint32_t access) const {
    return path + (access == kHardwareAccessX11 && libraryX11 != nullptr ? libraryX11 : library);
  }
};

/// Rows of the hosts, in the order of the docs.
extern const PluginEncoderRow kEncoderH264X264;
extern const PluginEncoderRow kEncoderH265X265;
extern const PluginEncoderRow kEncoderH26XAdvantechVega;
extern const PluginEncoderRow kEncoderH264QuickSync;
extern const PluginEncoderRow kEncoderH265QuickSync;
extern const PluginEncoderRow kEncoderH265MainConcept;
extern const PluginEncoderRow kEncoderH264VAAPI;
extern const PluginEncoderRow kEncoderH265VAAPI;
extern const PluginEncoderRow kEncoderVP9VAAPI;
extern const PluginEncoderRow kEncoderH265U30;
extern const PluginEncoderRow kEncoderH26XNVENC12;

}  // namespace qvs
