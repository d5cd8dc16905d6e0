#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace qvs::test {

/// The fake VA driver that libva will load too: orders for it, and what it has open.
class FakeCard {
 public:
  FakeCard() {
    setenv("LIBVA_DRIVERS_PATH", QVS_FAKES_DIR, 1);
    setenv("LIBVA_DRIVER_NAME", "fake", 1);
    library = dlopen(QVS_FAKES_DIR "/fake_drv_video.so", RTLD_NOW | RTLD_LOCAL);
    find(setScript, "qvsFakeScript");
    find(live, "qvsFakeLive");
    find(calls, "qvsFakeCalls");
    find(faulty, "qvsFakeFaulty");
  }

  void script(const std::string& text) { setScript(text.c_str()); }

  void (*setScript)(const char*) = nullptr;
  int64_t (*live)() = nullptr;        ///< objects of all kinds
  uint64_t (*calls)() = nullptr;      ///< since the script was set
  const char* (*faulty)() = nullptr;  ///< the call that the script made fail, empty: none

 private:
  template <typename Function>
  void find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr) std::abort();
  }
  void* library = nullptr;
};

}  // namespace qvs::test
