#pragma once

#include <cstdint>
#include <string>

#include "platform/SharedLibrary.h"

namespace qvs::test {

/// The media runtime without a card, loaded beside the plug-in's own dispatcher so that its orders and counts outlive
/// sessions.
class FakeRuntime {
 public:
  FakeRuntime() { library.open(QVS_FAKE_VPL_DIR "/libmfx-gen.so.1.2"); }
  ~FakeRuntime() { script(""); }

  void script(const std::string& text) const { call<void (*)(const char*)>("qvsFakeScript")(text.c_str()); }
  int64_t live() const { return call<int64_t (*)()>("qvsFakeLive")(); }
  uint64_t calls() const { return call<uint64_t (*)()>("qvsFakeCalls")(); }
  /// The call that failed last.
  std::string faulty() const { return call<const char* (*)()>("qvsFakeFaulty")(); }

 private:
  template <typename Function>
  Function call(const char* name) const {
    return library.symbol<Function>(name);
  }
  SharedLibrary library;
};

/// A plug-in of this codec and display, as a host finds it.
inline std::string quickSyncLibrary(const std::string& kind, const std::string& codec,
                                    const char* display = "drm") {
  return std::string(QVS_PLUGIN_DIR "/libqvs-v") + kind + "-" + codec + "-quicksync-" + display + ".so";
}

/// What a session's last failure was about.
template <typename Plugin, typename Table>
std::string problemOf(Plugin& plugin, int32_t (*Table::*entry)(void*, char*, uint32_t)) {
  char text[256] = "";
  plugin.call(entry, text, uint32_t{sizeof text});
  return text;
}

}  // namespace qvs::test
