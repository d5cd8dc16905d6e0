// Finds the cards that can capture, and what they offer.
#include <fmt/format.h>

#include "capture/decklink/BlackMagicDiscovery.h"
#include "capture/decklink/BlackMagicInputs.h"
#include "capture/decklink/CaptureDeviceBlackMagic.h"
#include "capture/decklink/CaptureDeviceRenditionBlackMagic.h"
#include "capture/decklink/DeckLinkLibrary.h"
#include "capture/ICaptureDeviceRegistry.h"
#include "log/LogGlobalLogger.h"

namespace qvs {

namespace {

constexpr uint32_t kPathFileSource = 2;
constexpr int kInputsKnown = 6;
/// A driver that never ends its lists would keep us for ever.
constexpr uint32_t kListMax = 1000;

const std::string kLine = "CaptureDeviceBlackMagic.inspectHardware[{context}]: ";

int64_t numberOf(IDeckLinkProfileAttributes& attributes, BMDDeckLinkAttributeID id) {
  int64_t value = 0;
  return attributes.GetInt(id, &value) == S_OK ? value : 0;
}

std::unique_ptr<CaptureDeviceRenditionBlackMagic> renditionOf(IDeckLinkInput& input,
                                                              IDeckLinkDisplayMode& mode) {
  const BlackMagicVideoCaptureFormat format = BlackMagicVideoCaptureFormat::of(mode);
  auto rendition = std::make_unique<CaptureDeviceRenditionBlackMagic>();
  rendition->setId(mode.GetDisplayMode());
  rendition->setName(deckLinkText([&](const char** text) { return mode.GetName(text); }, "unknown"));
  rendition->setVideoFrameWidth(format.videoFrameWidth);
  rendition->setVideoFrameHeight(format.videoFrameHeight);
  rendition->setVideoFrameRate(format.videoFrameRate);
  rendition->setVideoFrameRateEnum(format.videoFrameRateEnum);
  rendition->setVideoFrameRateDen(format.videoFrameRateDen);
  rendition->setVideoColorSpace(format.videoColorSpace);
  rendition->setVideoProgressive(format.videoProgressive);
  rendition->setVideoTopFieldFirst(format.videoTopFieldFirst);
  rendition->setFieldDominance(mode.GetFieldDominance());
  rendition->setHardwareFlags(mode.GetFlags());
  bool supported = false;
  BMDDisplayMode actual = 0;
  const HRESULT asked = input.DoesSupportVideoMode(bmdVideoConnectionUnspecified, mode.GetDisplayMode(),
                                                   bmdFormat10BitYUV, 0, 0, &actual, &supported);
  rendition->setDisplayModeSupported(asked == S_OK && supported ? 1 : 0);
  return rendition;
}

}  // namespace

void CaptureDeviceBlackMagic::describe(IDeckLinkProfileAttributes& attributes) {
  bool detects = false;
  inputFormatDetection =
      attributes.GetFlag(BMDDeckLinkSupportsInputFormatDetection, &detects) == S_OK && detects;
  hardwareId = static_cast<uint64_t>(numberOf(attributes, BMDDeckLinkPersistentID));
  audioInputs = static_cast<uint64_t>(numberOf(attributes, BMDDeckLinkAudioInputConnections)) << 1;
  audioMaxChannelCount = static_cast<uint32_t>(numberOf(attributes, BMDDeckLinkMaximumAudioChannels));
  const auto connections = static_cast<uint64_t>(numberOf(attributes, BMDDeckLinkVideoInputConnections));
  videoInputs = connections << 1;
  TranscoderCaptureDeviceCaptureInputVideoData inputs;
  for (uint32_t input = 1; input <= kInputsKnown; ++input) {
    if ((connections >> (input - 1) & 1) != 0) inputs.input[inputs.inputCount++] = input;
  }
  setVideoInputsAvailable(inputs);
}

void CaptureDeviceBlackMagic::addModes(IDeckLinkInput& input) {
  DeckLinkPtr<IDeckLinkDisplayModeIterator> modes;
  if (input.GetDisplayModeIterator(modes.put()) != S_OK || !modes) return;
  DeckLinkPtr<IDeckLinkDisplayMode> mode;
  while (renditionCount() < kListMax && modes->Next(mode.put()) == S_OK && mode)
    addRendition(renditionOf(input, *mode.get()));
}

void CaptureDeviceBlackMagic::inspectHardware(ICaptureDeviceRegistry& registry) {
  ILogger& log = *loggerOrGlobal(registry.getLogger());
  DeckLinkLibrary& library = DeckLinkLibrary::getInstance();
  library.Initialize();
  const DeckLinkPtr<IDeckLinkIterator> iterator = library.GetDeckLinkIterator();
  if (!iterator) {
    log.info(fmt::format("{}BlackMagic DeckLink API not available: {} ({})", kLine, uint32_t{kCardNoIterator},
                         library.describe()));
    return;
  }
  log.info(kLine + library.describe());
  if (!BlackMagicDiscovery::getInstance().install())
    log.warn(kLine + "The driver doesn't tell of cards that come and go");
  uint32_t found = 0;
  DeckLinkPtr<IDeckLink> card;
  for (uint32_t index = 0; index < kListMax && iterator->Next(card.put()) == S_OK && card; ++index) {
    const auto input = card.as<IDeckLinkInput>();
    const auto attributes = card.as<IDeckLinkProfileAttributes>();
    if (!input || !attributes) continue;  // it only plays out
    auto device = std::make_unique<CaptureDeviceBlackMagic>(index);
    device->setLogger(registry.getLogger());
    device->setModelName(
        deckLinkText([&](const char** text) { return card->GetModelName(text); }, "unknown"));
    device->setDisplayName(
        deckLinkText([&](const char** text) { return card->GetDisplayName(text); }, "unknown"));
    device->describe(*attributes.get());
    device->addModes(*input.get());
    const std::string fileSource = registry.getPath(kPathFileSource);
    if (!fileSource.empty()) device->setFileSourceDirectory(fileSource);
    BlackMagicDiscovery::getInstance().add(&*device);
    registry.addDevice(std::move(device));
    ++found;
  }
  if (found == 0) log.info(kLine + "No BlackMagic DecLink input devices found: ");
}

}  // namespace qvs
