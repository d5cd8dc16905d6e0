// What the x265 plug-in is, for the shared entry points.
#include "X265Session.h"

namespace qvs::plugins {

const EncoderPlugin kEncoderPlugin{x265Version, [] { return describeX265("x265"); }, makeX265Session};

}  // namespace qvs::plugins
