// Opening libavcodec for the H.263 encoder.
#include "ipp-samples/AvEncoderLibrary.h"

#include "platform/SharedLibrary.h"

namespace qvs {

namespace {

struct Opened {
  SharedLibrary util, codec;
  AvEncoderLibrary functions;
  bool complete = false;
};

Opened* openAll() {
  auto* opened = new Opened;  // never closed: its threads may outlive the statics
  // The sonames of the headers that this was built with.
  opened->complete = opened->codec.open("libavcodec.so." AV_STRINGIFY(LIBAVCODEC_VERSION_MAJOR)) &&
                     opened->util.open("libavutil.so." AV_STRINGIFY(LIBAVUTIL_VERSION_MAJOR));
#define QVS_FIND(library, name)                                              \
  opened->functions.name = opened->library.symbol<decltype(&::name)>(#name); \
  opened->complete = opened->complete && opened->functions.name != nullptr;
#define QVS_FIND_UTIL(name) QVS_FIND(util, name)
#define QVS_FIND_CODEC(name) QVS_FIND(codec, name)
  QVS_H263_UTIL_FUNCTIONS(QVS_FIND_UTIL)
  QVS_H263_CODEC_FUNCTIONS(QVS_FIND_CODEC)
#undef QVS_FIND_CODEC
#undef QVS_FIND_UTIL
#undef QVS_FIND
  return opened;
}

}  // namespace

const AvEncoderLibrary* AvEncoderLibrary::get() {
  static const Opened* const opened = openAll();
  return opened->complete ? &opened->functions : nullptr;
}

}  // namespace qvs
