// Opening the ffmpeg libraries at run time and finding their functions.
#include "av/AvLibrary.h"

#include <dlfcn.h>

#include <cstdio>

namespace qvs::mc {

namespace {

// The sonames of the headers that this was built with.
constexpr const char* kUtil = "libavutil.so." AV_STRINGIFY(LIBAVUTIL_VERSION_MAJOR);
constexpr const char* kCodec = "libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR);
constexpr const char* kFilter = "libavfilter.so." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR);
constexpr const char* kResample = "libswresample.so." AV_STRINGIFY(LIBSWRESAMPLE_VERSION_MAJOR);

void* openLibrary(const char* soname) {
  void* library = dlopen(soname, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) std::printf("%s\n", dlerror());
  return library;
}

template <typename Function>
bool resolve(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

}  // namespace

bool AvLibrary::openUtil() {
  void* util = openLibrary(kUtil);
  if (util == nullptr) return false;
  bool found = true;
#define QVS_RESOLVE(name) found = resolve(util, #name, name) && found;
  QVS_AVUTIL_FUNCTIONS(QVS_RESOLVE)
#undef QVS_RESOLVE
  return found;
}

bool AvLibrary::openCodecs() {
  void* codec = openLibrary(kCodec);
  if (codec == nullptr || !openUtil()) return false;
  bool found = true;
#define QVS_RESOLVE(name) found = resolve(codec, #name, name) && found;
  QVS_AVCODEC_FUNCTIONS(QVS_RESOLVE)
#undef QVS_RESOLVE
  return found;
}

bool AvLibrary::openFilters() {
  void* filter = openLibrary(kFilter);
  if (filter == nullptr || !openCodecs()) return false;
  bool found = true;
#define QVS_RESOLVE(name) found = resolve(filter, #name, name) && found;
  QVS_AVFILTER_FUNCTIONS(QVS_RESOLVE)
#undef QVS_RESOLVE
  return found;
}

bool AvLibrary::openResampler() {
  void* resample = openLibrary(kResample);
  if (resample == nullptr || !openUtil()) return false;
  bool found = true;
#define QVS_RESOLVE(name) found = resolve(resample, #name, name) && found;
  QVS_SWRESAMPLE_FUNCTIONS(QVS_RESOLVE)
#undef QVS_RESOLVE
  return found;
}

const AvLibrary* AvLibrary::codecs() {
  static AvLibrary library;
  static const bool there = library.openCodecs();
  return there ? &library : nullptr;
}

const AvLibrary* AvLibrary::filters() {
  static AvLibrary library;
  static const bool there = library.openFilters();
  return there ? &library : nullptr;
}

const AvLibrary* AvLibrary::resampler() {
  static AvLibrary library;
  static const bool there = library.openResampler();
  return there ? &library : nullptr;
}

}  // namespace qvs::mc
