// The encoder plug-ins that the transcoder knows, a row each.
#include "video/encoders/hosts/PluginEncoderRow.h"

#include "contract/StageIds.h"
#include "plugin/PluginThread.h"

namespace qvs {
namespace {

// The words of the first host of the family; all hosts keep them, so that one search finds every status line.
constexpr const char* kStatus = "QuickSync on Linux: ";
constexpr const char* kUnknown = "X264: Unknown error.";
constexpr const char* kQuickSync = "QuickSync: ";
constexpr const char* kUnknownX265 = "X265: Unknown error.";

// A driver behind it may hang before anybody can have set a deadline.
constexpr PluginEncoderRow onCard(PluginEncoderRow row) {
  row.openingDeadline = PluginThread::kOpeningDeadline;
  return row;
}

#define QVS_HOST_NAMES(name) name, name "::addFrame"

}  // namespace

// clang-format off
constexpr PluginEncoderRow kEncoderH264X264{
    QVS_HOST_NAMES("VideoEncoderH264X264Host"), kVideoCodecH264, "/libqvs-vencoder-h264-x264.so", kStatus, kUnknown};
constexpr PluginEncoderRow kEncoderH265X265{
    QVS_HOST_NAMES("VideoEncoderH265X265Host"), kVideoCodecH265, "/libqvs-vencoder-h265-x265.so", kStatus, kUnknownX265};
constexpr PluginEncoderRow kEncoderH26XAdvantechVega = onCard({
    QVS_HOST_NAMES("VideoEncoderH26XAdvantechVegaHost"), kVideoCodecH264, "/libqvs-vencoder-h26x-advantechvega.so", kStatus, kUnknown, true});
constexpr PluginEncoderRow kEncoderH264QuickSync = onCard({
    QVS_HOST_NAMES("VideoEncoderH264QuickSyncHost"), kVideoCodecH264, "/libqvs-vencoder-h264-quicksync-drm.so", kQuickSync, nullptr,
    false, kHardwareAccessDrm, "/libqvs-vencoder-h264-quicksync-x11.so"});
constexpr PluginEncoderRow kEncoderH265QuickSync = onCard({
    QVS_HOST_NAMES("VideoEncoderH265QuickSyncHost"), kVideoCodecH265, "/libqvs-vencoder-h265-quicksync-drm.so", kQuickSync, nullptr,
    false, kHardwareAccessDrm, "/libqvs-vencoder-h265-quicksync-x11.so", true});
constexpr PluginEncoderRow kEncoderH265MainConcept{
    QVS_HOST_NAMES("VideoEncoderH265MainConceptHost"), kVideoCodecH265, "/libqvs-vencoder-h265-mainconcept.so", kStatus, kUnknown,
    false, kHardwareAccessDrm};
constexpr PluginEncoderRow kEncoderH264VAAPI = onCard({
    QVS_HOST_NAMES("VideoEncoderH264VAAPIHost"), kVideoCodecH264, "/libqvs-vencoder-h264-vaapi.so", kStatus, kUnknown});
constexpr PluginEncoderRow kEncoderH265VAAPI = onCard({
    QVS_HOST_NAMES("VideoEncoderH265VAAPIHost"), kVideoCodecH265, "/libqvs-vencoder-h265-vaapi.so", kStatus, kUnknown});
constexpr PluginEncoderRow kEncoderVP9VAAPI = onCard({
    QVS_HOST_NAMES("VideoEncoderVP9VAAPIHost"), kVideoCodecVPX, "/libqvs-vencoder-vp9-vaapi.so", kStatus, kUnknown});
constexpr PluginEncoderRow kEncoderH26XNVENC12 = onCard({
    QVS_HOST_NAMES("VideoEncoderH26XNVENC12Host"), kVideoCodecH264, "/libqvs-vencoder-h26x-nvenc12.so", kStatus, kUnknown});
constexpr PluginEncoderRow kEncoderH265U30 = onCard({
    QVS_HOST_NAMES("VideoEncoderH265U30Host"), kVideoCodecH265, "/libqvs-vencoder-h26x-xilinxu30.so", "status code: ", kUnknown,
    false, kHardwareAccessDrm, nullptr, false, "u30e_zarvoVideoEncoder_", true, true, true});
// clang-format on

}  // namespace qvs
