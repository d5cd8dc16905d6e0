#pragma once

#include <va/va.h>

#include <cstdint>
#include <string>

namespace qvs::plugins {

/// The VA display that a media runtime works on. What stands behind it, a render node or an X server, is chosen when
/// the plug-in is linked.
class VaDisplay {
 public:
  VaDisplay() = default;
  ~VaDisplay() { close(); }
  VaDisplay(const VaDisplay&) = delete;
  VaDisplay& operator=(const VaDisplay&) = delete;

  /// Opens the display of a GPU, -1 for the first that works. A status; `problem` says which step failed.
  int32_t open(int32_t gpu, std::string& problem);
  void close();

  VADisplay get() const { return display; }

 private:
  /// Initializes what `display` names.
  int32_t start(std::string& problem);
  void stop();

  VADisplay display = nullptr;
  int node = -1;           ///< an open render node
  void* server = nullptr;  ///< a connection to an X server
};

}  // namespace qvs::plugins
