#pragma once

#include <cstdint>
#include <string>

#include "platform/SharedLibrary.h"
#include "plugins/software-encoders/PluginEncoder.h"

namespace qvs::test {

/// The media runtime without a card, loaded beside the plug-in's own dispatcher so that its orders and counts outlive
/// sessions.
class FakeRuntime {
 public:
  FakeRuntime() { script(""); }
  ~FakeRuntime() { script(""); }

  void script(const std::string& text) const { call<void (*)(const char*)>("qvsFakeScript")(text.c_str()); }
  int64_t live() const { return call<int64_t (*)()>("qvsFakeLive")(); }
  uint64_t calls() const { return call<uint64_t (*)()>("qvsFakeCalls")(); }
  /// The call that failed last.
  std::string faulty() const { return call<const char* (*)()>("qvsFakeFaulty")(); }

 private:
  template <typename Function>
  static Function call(const char* name) {
    // Never closed: it keeps its script for the process.
    static const SharedLibrary* library = [] {
      auto* opened = new SharedLibrary;
      opened->open(QVS_FAKE_VPL_DIR "/libmfx-gen.so.1.2");
      return opened;
    }();
    return library->symbol<Function>(name);
  }
};

/// The file of a plug-in for this codec.
inline std::string quickSyncLibrary(const std::string& kind, const std::string& codec) {
  return "libqvs-v" + kind + "-" + codec + "-quicksync-drm.so";
}

/// An encoder through a whole run.
class QuickSyncEncoding : public PluginEncoder {
 public:
  using PluginEncoder::PluginEncoder;

  int32_t rate(uint32_t bitsPerSecond) { return plugin.call(&Table::func_updateBitrate, bitsPerSecond); }

  /// Pictures 0 to count at 25 a second, keys where asked, and what is held back. The first status that isn't 0.
  int32_t run(uint32_t count, uint64_t first = 0, uint32_t keyEvery = 1000) {
    for (uint32_t i = 0; i < count; ++i) {
      if (const int32_t status = add(i, first + i * 40, i % keyEvery == 0); status != 0) return status;
    }
    return drain();
  }
};

}  // namespace qvs::test
