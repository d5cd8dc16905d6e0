// The end of a decoder plug-in's session, with a call that came back too late for its host.
#include "video/decoders/hosts/PluginDecoderWork.h"

namespace qvs {

PluginDecoderWork::~PluginDecoderWork() {
  if (end != nullptr) end(step.data());
}

}  // namespace qvs
