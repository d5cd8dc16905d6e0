// What the NVENC plug-in is, for the shared entry points.
#include "NvencSession.h"

namespace qvs::plugins {
namespace {

constexpr PluginDescription kDescription{"nvenc", "H.264,H.265", "NVENC", 8192, 8192};

}  // namespace

const EncoderPlugin kEncoderPlugin{
    nvenc::NvencSession::version,
    [] { return KeyTable<nvenc::NvencSettings>::describe(kDescription, nvenc::kNvencKeys); },
    []() -> std::unique_ptr<EncoderSession> { return std::make_unique<nvenc::NvencSession>(); }};

}  // namespace qvs::plugins
