// The encoder libraries: QVS_QUICKSYNC_CODEC names the codec's row.
#include "QuickSyncEncoder.h"

namespace qvs::plugins {
namespace {

std::string describe() {
  const PluginDescription plugin{"quicksync", QVS_QUICKSYNC_CODEC.name, "libvpl", 8192, 8192};
  return KeyTable<QuickSyncEncoderSettings>::describe(plugin, quickSyncEncoderKeys());
}

std::unique_ptr<EncoderSession> make() {
  return std::make_unique<QuickSyncEncoder>(QVS_QUICKSYNC_CODEC);
}

}  // namespace

const EncoderPlugin kEncoderPlugin{probeMfx, describe, make};

}  // namespace qvs::plugins
