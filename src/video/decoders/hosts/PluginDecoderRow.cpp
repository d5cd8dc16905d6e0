// The decoder plug-ins that the transcoder knows, a row each.
#include "video/decoders/hosts/PluginDecoderRow.h"

#include "contract/StageIds.h"

namespace qvs {

#define QVS_HOST_NAMES(name) name, name "::decode"

constexpr PluginDecoderRow kDecoderH264QuickSync{QVS_HOST_NAMES("VideoDecoderH264QuickSyncHost"),
                                                 kVideoCodecH264, "/libqvs-vdecoder-h264-quicksync-drm.so",
                                                 "/libqvs-vdecoder-h264-quicksync-x11.so"};
constexpr PluginDecoderRow kDecoderMP2QuickSync{QVS_HOST_NAMES("VideoDecoderMP2QuickSyncHost"),
                                                kVideoCodecMPEG2, "/libqvs-vdecoder-mp2-quicksync-drm.so",
                                                "/libqvs-vdecoder-mp2-quicksync-x11.so"};
constexpr PluginDecoderRow kDecoderH264U30{QVS_HOST_NAMES("VideoDecoderH264U30Host"),
                                           kVideoCodecH264,
                                           "/libqvs-vdecoder-h26x-xilinxu30.so",
                                           nullptr,
                                           "u30d_zarvoVideoDecoder_",
                                           true,
                                           true,
                                           false};

}  // namespace qvs
