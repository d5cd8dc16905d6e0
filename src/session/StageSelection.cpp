// The tables from codec and implementation numbers to the classes that serve them.
#include "session/StageSelection.h"

#include <fmt/format.h>

#include "audio/AudioDecoderAAC.h"
#include "audio/AudioDecoderALaw.h"
#include "audio/AudioDecoderMP2.h"
#include "audio/AudioDecoderMULaw.h"
#include "audio/AudioDecoderOpus.h"
#include "audio/AudioDecoderPCM.h"
#include "audio/AudioDecoderSpeex.h"
#include "audio/AudioDecoderVorbis.h"
#include "audio/AudioEncoderAAC.h"
#include "audio/AudioEncoderOpus.h"
#include "audio/AudioEncoderVorbis.h"
#include "capture/AudioDecoderCapture.h"
#include "capture/VideoDecoderCapture.h"
#include "contract/HardwareInfo.h"
#include "contract/StageIds.h"
#include "video/decoders/hosts/VideoDecoderH264U30Host.h"
#include "video/decoders/hosts/VideoDecoderPluginHost.h"
#include "video/decoders/VideoDecoderGenericNVCUVID.h"
#include "video/decoders/VideoDecoderH264.h"
#include "video/decoders/VideoDecoderH265.h"
#include "video/decoders/VideoDecoderMP2.h"
#include "video/decoders/VideoDecoderMP4.h"
#include "video/decoders/VideoDecoderRaw.h"
#include "video/decoders/VideoDecoderVPX.h"
#include "video/encoders/hosts/VideoEncoderH265U30Host.h"
#include "video/encoders/hosts/VideoEncoderH26XNVENC12Host.h"
#include "video/encoders/hosts/VideoEncoderPluginHost.h"
#include "video/encoders/VideoEncoderH263IPP.h"
#include "video/encoders/VideoEncoderH264.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {

namespace {

template <typename Stage, typename Class>
std::unique_ptr<Stage> make() {
  return std::make_unique<Class>();
}

template <typename Host, typename Stage>
void tellHardwareAccess(Stage& stage, const HardwareAvailability& availability) {
  static_cast<Host&>(stage).setHardwareAccess(availability.quickSyncHardwareAccess);
}
constexpr auto* kTellDecoder = tellHardwareAccess<VideoDecoderPluginHost, IVideoDecoder>;
constexpr auto* kTellEncoder = tellHardwareAccess<VideoEncoderPluginHost, IVideoEncoder>;

using Availability = HardwareAvailability;
constexpr PluginPath kNative = PluginPath::kNative;
constexpr PluginPath kQuickSync = PluginPath::kQuickSync;
constexpr PluginPath kVaapi = PluginPath::kVaapi;
constexpr uint32_t kAny = kAnyImplementation;
constexpr uint32_t kNvencH264 = kCudaNvencH264 | kCudaNvencLoaded;
constexpr uint32_t kNvencH265 = kCudaNvencH265 | kCudaNvencLoaded;
constexpr uint32_t kAudioLayer3 = 3;

// clang-format off
constexpr VideoDecoderRow kCaptureVideoDecoder =
    {0, kAny, nullptr, 0, kNative, "VideoDecoderCapture", "Capture: default", make<IVideoDecoder, VideoDecoderCapture>};

constexpr VideoDecoderRow kVideoDecoders[] = {
    {kVideoCodecSorenson, kAny, nullptr, 0, kNative, "VideoDecoderMP4", "SorensonSpark: default", make<IVideoDecoder, VideoDecoderMP4>},
    {kVideoCodecH264, 1, &Availability::quickSyncAvailable, kQuickSyncAvailable, kQuickSync, "VideoDecoderH264QuickSyncHost", "H.264: QuickSync", makePluginDecoder<kDecoderH264QuickSync>, kTellDecoder},
    {kVideoCodecH264, 4, &Availability::cudaAvailable, kCudaNvcuvid, kNative, "VideoDecoderGenericNVCUVID", "H.264: NVCUVID[NVDEC]", make<IVideoDecoder, VideoDecoderGenericNVCUVID>},
    {kVideoCodecH264, 3, &Availability::cudaAvailable, kCudaNvcuvidOld, kNative, "VideoDecoderGenericNVCUVID", "H.264: NVCUVID[NVDEC]", make<IVideoDecoder, VideoDecoderGenericNVCUVID>},
    {kVideoCodecH264, 5, &Availability::u30Available, kU30Usable, kNative, "VideoDecoderH264U30Host", "H.264: U30", make<IVideoDecoder, VideoDecoderH264U30Host>},
    {kVideoCodecH264, kAny, nullptr, 0, kNative, "VideoDecoderH264", "H.264: default", make<IVideoDecoder, VideoDecoderH264>},
    {kVideoCodecVPX, kAny, nullptr, 0, kNative, "VideoDecoderVPX", "VPX[{}]: default", make<IVideoDecoder, VideoDecoderVPX>},
    {kVideoCodecH263, kAny, nullptr, 0, kNative, "VideoDecoderMP4", "H.263: default", make<IVideoDecoder, VideoDecoderMP4>},
    {kVideoCodecMP4, kAny, nullptr, 0, kNative, "VideoDecoderMP4", "MP4: default", make<IVideoDecoder, VideoDecoderMP4>},
    {kVideoCodecMPEG2, 1, &Availability::quickSyncAvailable, kQuickSyncDecodeMP2, kQuickSync, "VideoDecoderMP2QuickSyncHost", "MPEG2: QuickSync", makePluginDecoder<kDecoderMP2QuickSync>, kTellDecoder},
    {kVideoCodecMPEG2, 4, &Availability::cudaAvailable, kCudaNvcuvid, kNative, "VideoDecoderGenericNVCUVID", "MPEG2: NVCUVID[NVDEC]", make<IVideoDecoder, VideoDecoderGenericNVCUVID>},
    {kVideoCodecMPEG2, 3, &Availability::cudaAvailable, kCudaNvcuvidOld, kNative, "VideoDecoderGenericNVCUVID", "MPEG2: NVCUVID[NVDEC]", make<IVideoDecoder, VideoDecoderGenericNVCUVID>},
    {kVideoCodecMPEG2, kAny, nullptr, 0, kNative, "VideoDecoderMP2", "MPEG2: default", make<IVideoDecoder, VideoDecoderMP2>},
    {kVideoCodecH265, 4, &Availability::cudaAvailable, kCudaNvcuvid, kNative, "VideoDecoderGenericNVCUVID", "H.265: NVCUVID[NVDEC]", make<IVideoDecoder, VideoDecoderGenericNVCUVID>},
    // One host serves both codecs of that card.
    {kVideoCodecH265, 5, &Availability::u30Available, kU30Usable, kNative, "VideoDecoderH264U30Host", "H.265: U30", make<IVideoDecoder, VideoDecoderH264U30Host>},
    {kVideoCodecH265, kAny, nullptr, 0, kNative, "VideoDecoderH265", "H.265: default", make<IVideoDecoder, VideoDecoderH265>},
    {kVideoCodecRaw, kAny, nullptr, 0, kNative, "VideoDecoderRaw", "Raw: default", make<IVideoDecoder, VideoDecoderRaw>},
};

constexpr VideoEncoderRow kVideoEncoders[] = {
    {kVideoCodecH265, 9, &Availability::cudaAvailable, kNvencH265, kNative, "VideoEncoderH26XNVENC12Host", "H.265: NVENC12", make<IVideoEncoder, VideoEncoderH26XNVENC12Host>},
    {kVideoCodecH265, 8, &Availability::quickSyncAvailable, kQuickSyncEncodeH265, kQuickSync, "VideoEncoderH265QuickSyncHost", "H.265: QuickSync", makePluginEncoder<kEncoderH265QuickSync>, kTellEncoder},
    {kVideoCodecH265, 11, &Availability::x265Available, kAnyBit, kNative, "VideoEncoderH265X265Host", "H.265: X265", makePluginEncoder<kEncoderH265X265>},
    {kVideoCodecH265, 15, &Availability::advantechVegaAvailable, kAnyBit, kNative, "VideoEncoderH26XAdvantechVegaHost", "H.265: AdvantechVega", makePluginEncoder<kEncoderH26XAdvantechVega>},
    {kVideoCodecH265, 16, &Availability::vaapiAvailable, kVaapiEncodeH265, kVaapi, "VideoEncoderH265VAAPIHost", "H.265: VAAPI", makePluginEncoder<kEncoderH265VAAPI>},
    {kVideoCodecH265, 18, &Availability::u30Available, kU30Usable, kNative, "VideoEncoderH265U30Host", "H.265: U30", make<IVideoEncoder, VideoEncoderH265U30Host>},
    {kVideoCodecH265, kAny, nullptr, 0, kNative, "VideoEncoderH265MainConceptHost", "H.265: default", makePluginEncoder<kEncoderH265MainConcept>},
    {kVideoCodecH263, kAny, nullptr, 0, kNative, "VideoEncoderH263IPP", "H263: default", make<IVideoEncoder, VideoEncoderH263IPP>},
    {kVideoCodecVPX, 12, &Availability::vaapiAvailable, kVaapiEncodeVP9, kVaapi, "VideoEncoderVP9VAAPIHost", "VPX[{}]: VAAPI", makePluginEncoder<kEncoderVP9VAAPI>},
    {kVideoCodecVPX, kAny, nullptr, 0, kNative, "VideoEncoderVPX", "VPX[{}]: default", make<IVideoEncoder, VideoEncoderVPX>},
    {kVideoCodecH264, 1, &Availability::quickSyncAvailable, kQuickSyncEncodeH264, kQuickSync, "VideoEncoderH264QuickSyncHost", "H.264: QuickSync", makePluginEncoder<kEncoderH264QuickSync>, kTellEncoder},
    {kVideoCodecH264, 6, &Availability::cudaAvailable, kNvencH264, kNative, "VideoEncoderH26XNVENC12Host", "H.264: NVENC12", make<IVideoEncoder, VideoEncoderH26XNVENC12Host>},
    {kVideoCodecH264, 10, &Availability::vaapiAvailable, kVaapiEncodeH264, kVaapi, "VideoEncoderH264VAAPIHost", "H.264: VAAPI", makePluginEncoder<kEncoderH264VAAPI>},
    {kVideoCodecH264, 7, &Availability::x264Available, kAnyBit, kNative, "VideoEncoderH264X264Host", "H.264: X264", makePluginEncoder<kEncoderH264X264>},
    {kVideoCodecH264, 14, &Availability::advantechVegaAvailable, kAnyBit, kNative, "VideoEncoderH26XAdvantechVegaHost", "H.264: AdvantechVega", makePluginEncoder<kEncoderH26XAdvantechVega>},
    {kVideoCodecH264, 17, &Availability::u30Available, kU30Usable, kNative, "VideoEncoderH265U30Host", "H.264: U30", make<IVideoEncoder, VideoEncoderH265U30Host>},
    {kVideoCodecH264, kAny, nullptr, 0, kNative, "VideoEncoderH264", "H.264: default", make<IVideoEncoder, VideoEncoderH264>},
};

constexpr AudioDecoderRow kCaptureAudioDecoder =
    {0, kAny, nullptr, 0, kNative, "AudioDecoderCapture", "Capture: default", make<IAudioDecoder, AudioDecoderCapture>};

constexpr AudioDecoderRow kAudioDecoders[] = {
    {kAudioCodecMPEG, kAudioLayer3, nullptr, 0, kNative, "AudioDecoderMP2", "MP3: default", make<IAudioDecoder, AudioDecoderMP2>},
    {kAudioCodecMPEG, kAny, nullptr, 0, kNative, "AudioDecoderMP2", "MPEG1 Part 1/2: default", make<IAudioDecoder, AudioDecoderMP2>},
    {kAudioCodecALaw, kAny, nullptr, 0, kNative, "AudioDecoderALaw", "G711 ALAW: default", make<IAudioDecoder, AudioDecoderALaw>},
    {kAudioCodecMULaw, kAny, nullptr, 0, kNative, "AudioDecoderMULaw", "G711 MULAW: default", make<IAudioDecoder, AudioDecoderMULaw>},
    {kAudioCodecVorbis, kAny, nullptr, 0, kNative, "AudioDecoderVorbis", "VORBIS: default", make<IAudioDecoder, AudioDecoderVorbis>},
    {kAudioCodecAAC, kAny, nullptr, 0, kNative, "AudioDecoderAAC", "AAC: default", make<IAudioDecoder, AudioDecoderAAC>},
    {kAudioCodecSpeex, kAny, nullptr, 0, kNative, "AudioDecoderSpeex", "SPEEX: default", make<IAudioDecoder, AudioDecoderSpeex>},
    {kAudioCodecOpus, kAny, nullptr, 0, kNative, "AudioDecoderOpus", "OPUS: default", make<IAudioDecoder, AudioDecoderOpus>},
    {kAudioCodecPCM, kAny, nullptr, 0, kNative, "AudioDecoderPCM", "PCM: default", make<IAudioDecoder, AudioDecoderPCM>},
};

constexpr AudioEncoderRow kAudioEncoders[] = {
    {kAudioCodecVorbis, kAny, nullptr, 0, kNative, "AudioEncoderVorbis", "VORBIS: default", make<IAudioEncoder, AudioEncoderVorbis>},
    {kAudioCodecAAC, kAny, nullptr, 0, kNative, "AudioEncoderAAC", "AAC: default", make<IAudioEncoder, AudioEncoderAAC>},
    {kAudioCodecOpus, kAny, nullptr, 0, kNative, "AudioEncoderOpus", "OPUS: default", make<IAudioEncoder, AudioEncoderOpus>},
};
// clang-format on

template <typename Stage>
bool isAvailable(const StageRow<Stage>& row, const HardwareAvailability& availability) {
  if (row.word == nullptr) return true;
  const uint32_t word = availability.*row.word;
  return row.bits == kAnyBit ? word != 0 : (word & row.bits) == row.bits;
}

template <typename Stage>
const StageRow<Stage>* select(std::span<const StageRow<Stage>> rows, uint32_t codec, uint32_t implementation,
                              const HardwareAvailability& availability) {
  for (const StageRow<Stage>& row : rows) {
    const bool named = row.implementation == kAnyImplementation || row.implementation == implementation;
    if (row.codec == codec && named && isAvailable(row, availability)) return &row;
  }
  return nullptr;
}

}  // namespace

template <typename Stage>
std::unique_ptr<Stage> StageRow<Stage>::create(const HardwareAvailability& availability) const {
  std::unique_ptr<Stage> stage = make != nullptr ? make() : nullptr;
  if (stage && prepare != nullptr) prepare(*stage, availability);
  return stage;
}

template <typename Stage>
std::string StageRow<Stage>::logTextOf(uint32_t codecVersion) const {
  return fmt::format(fmt::runtime(logText), codecVersion);
}

template struct StageRow<IVideoDecoder>;
template struct StageRow<IVideoEncoder>;
template struct StageRow<IAudioDecoder>;
template struct StageRow<IAudioEncoder>;

const VideoDecoderRow* StageSelection::videoDecoder(uint32_t decoderType, uint32_t codec,
                                                    uint32_t implementation,
                                                    const HardwareAvailability& availability) {
  if (decoderType == kDecoderTypeCapture) return &kCaptureVideoDecoder;
  return select<IVideoDecoder>(kVideoDecoders, codec, implementation, availability);
}

const VideoEncoderRow* StageSelection::videoEncoder(uint32_t codec, uint32_t implementation,
                                                    const HardwareAvailability& availability) {
  return select<IVideoEncoder>(kVideoEncoders, codec, implementation, availability);
}

const AudioDecoderRow* StageSelection::audioDecoder(uint32_t decoderType, uint32_t codec,
                                                    uint32_t implementation) {
  if (decoderType == kDecoderTypeCapture) return &kCaptureAudioDecoder;
  return select<IAudioDecoder>(kAudioDecoders, codec, implementation, {});
}

const AudioEncoderRow* StageSelection::audioEncoder(uint32_t codec) {
  return select<IAudioEncoder>(kAudioEncoders, codec, kAnyImplementation, {});
}

}  // namespace qvs
