// The decoder libraries: QVS_QUICKSYNC_CODEC names the codec's row.
#include "QuickSyncDecoder.h"

namespace qvs::plugins {
namespace {

std::string describe() {
  const std::string name = std::string("quicksync-") + QVS_QUICKSYNC_CODEC.name;
  const PluginDescription plugin{name.c_str(), QVS_QUICKSYNC_CODEC.name, "the media runtime behind libvpl",
                                 8192, 8192};
  return KeyTable<QuickSyncDecoderSettings>::describe(plugin, quickSyncDecoderKeys());
}

std::unique_ptr<DecoderSession> make() {
  return std::make_unique<QuickSyncDecoder>(QVS_QUICKSYNC_CODEC);
}

}  // namespace

const DecoderPlugin kDecoderPlugin{probeMfx, describe, make};

}  // namespace qvs::plugins
