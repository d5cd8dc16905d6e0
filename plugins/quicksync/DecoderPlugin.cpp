// The decoder libraries: QVS_QUICKSYNC_CODEC names the codec's row.
#include "QuickSyncDecoder.h"

namespace qvs::plugins {
namespace {

std::string describe() {
  const PluginDescription plugin{"quicksync", QVS_QUICKSYNC_CODEC.name, "libvpl", 8192, 8192};
  return KeyTable<QuickSyncDecoderSettings>::describe(plugin, quickSyncDecoderKeys());
}

std::unique_ptr<DecoderSession> make() {
  return std::make_unique<QuickSyncDecoder>(QVS_QUICKSYNC_CODEC);
}

}  // namespace

const DecoderPlugin kDecoderPlugin{probeMfx, describe, make};

}  // namespace qvs::plugins
