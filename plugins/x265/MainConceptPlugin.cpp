// The same plug-in under the name of the default H.265 encoder.
#include "X265Session.h"

namespace qvs::plugins {

const EncoderPlugin kEncoderPlugin{x265Version, [] { return describeX265("mainconcept"); }, makeX265Session};

}  // namespace qvs::plugins
