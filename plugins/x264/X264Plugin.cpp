// What the x264 plug-in is, for the shared entry points.
#include "X264Session.h"

namespace qvs::plugins {
namespace {

constexpr PluginDescription kDescription{"x264", "H.264", "libx264", 16384, 16384};

int32_t version(std::string& text, uint32_t& major, uint32_t& minor) {
  text = "libx264 " X264_POINTVER;
  major = X264_BUILD;
  minor = 0;
  return QVS_PLUGIN_OK;
}

}  // namespace

const EncoderPlugin kEncoderPlugin{
    version, [] { return KeyTable<X264Settings>::describe(kDescription, kX264Keys); },
    []() -> std::unique_ptr<EncoderSession> { return std::make_unique<X264Session>(); }};

}  // namespace qvs::plugins
