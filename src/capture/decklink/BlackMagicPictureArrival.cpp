// What the arrival thread does with a card's picture.
#include <fmt/format.h>

#include <cinttypes>
#include <cstdio>
#include <utility>

#include "capture/CaptureUtils.h"
#include "capture/decklink/BlackMagicInputs.h"
#include "capture/decklink/BlackMagicNotificationCallback.h"
#include "contract/FrameTypes.h"
#include "log/ILogger.h"

namespace qvs {

namespace {

constexpr uint32_t kColorSpace601 = 1;

std::string nameOf(BMDPixelFormat format) {
  const BlackMagicPixelFormat* const row = findBlackMagicPixelFormat(format);
  return row != nullptr ? row->name : fmt::format("{:#010x}", format);
}

uint32_t sizeOf(long value) {
  return value > 0 && value <= INT32_MAX ? static_cast<uint32_t>(value) : 0;
}

}  // namespace

void BlackMagicNotificationCallback::bringPicture(Arrival& arrival) {
  IDeckLinkVideoInputFrame* const frame = arrival.given.videoFrame.get();
  if (frame == nullptr || !arrival.videoTimed || device.getFrameSinkCountVideo() == 0) return;
  prepareConverter(arrival, *frame);
  if (!converter.isSupported()) {
    if (!std::exchange(reportPixelFormatNotSupported, false)) return;
    log()->warn(
        "CaptureDeviceBlackMagic.VideoInputFrameArrived[{context}]: Pixel format not supported "
        "[bmdFormat10BitYUV,bmdFormat8BitYUV,bmdFormat10BitRGB,bmdFormat8BitARGB,bmdFormat8BitBGRA,"
        "bmdFormat12BitRGB]: pixelFormat:" +
        nameOf(preparedPicture.format));
    return;
  }
  if (arrival.hasSignal) readSideData(arrival, *frame);
  countDropped(arrival);
  // Pictures between two that are wanted aren't even converted.
  const uint32_t divisor = arrival.info.videoFrameRateDivisor;
  if (divisor > 1 && arrival.videoFrameIndex % divisor != 0) return;
  CaptureFrame* const made = device.createPicture(converter.targetWidth(), converter.targetHeight());
  if (made == nullptr) return;
  if (!fillPicture(arrival, *frame, *made)) {
    CaptureUtils::deleteCaptureFrame(made);
    if (failedPictures++ == 0) {
      log()->error(
          "CaptureDeviceBlackMagic.VideoInputFrameArrived[{context}]: The card's picture can't be read");
    }
    return;
  }
  failedPictures = 0;
  describePicture(arrival, *made);
  arrival.videoDelivered = true;
  clock.setLastVideo(arrival.videoMilliseconds);
  if (device.addCaptureFrameToFrameSinks(made) == 0) CaptureUtils::deleteCaptureFrame(made);
}

void BlackMagicNotificationCallback::prepareConverter(const Arrival& arrival,
                                                      IDeckLinkVideoInputFrame& frame) {
  const bool rec601 = arrival.info.videoColorSpace == kColorSpace601;
  const bool deinterlace = device.getDeinterlaceMode() != BlackMagicCaptureState::kDeinterlaceNever;
  preparedPicture = {frame.GetPixelFormat(),
                     sizeOf(frame.GetWidth()),
                     sizeOf(frame.GetHeight()),
                     arrival.info.videoProgressive != 0,
                     arrival.info.videoTopFieldFirst != 0,
                     deinterlace,
                     rec601};
  CaptureUtilsFrameTranslationInfo translation;
  CaptureUtils::getFrameTranslationInfo(&translation, arrival.target, arrival.hasSignal,
                                        preparedPicture.width, preparedPicture.height,
                                        device.getEmptyFrameWidth(), device.getEmptyFrameHeight());
  if (!converter.prepare(preparedPicture, translation)) return;
  tellVideoFormat(arrival, translation);
  reportPixelFormatNotSupported = true;
  sideData.tellTimecodesAgain();
}

void BlackMagicNotificationCallback::tellVideoFormat(
    const Arrival& arrival, const CaptureUtilsFrameTranslationInfo& translation) const {
  log()->info(fmt::format(
      "CaptureDeviceBlackMagic.VideoInputFrameArrived[{{context}}]: Video format change: pixelFormat:{} "
      "frameSizeSrc:{}x{} frameSizeInt:{}x{} frameSizeDst:{}x{} offset:{}x{} frameRate:{}/{} progressive:{}",
      nameOf(preparedPicture.format), preparedPicture.width, preparedPicture.height, translation.widthInt,
      translation.heightInt, translation.widthDst, translation.heightDst, translation.xOffset,
      translation.yOffset, arrival.info.videoFrameRateEnum, arrival.info.videoFrameRateDen,
      preparedPicture.progressive));
}

void BlackMagicNotificationCallback::readSideData(Arrival& arrival, IDeckLinkVideoInputFrame& frame) {
  sideData.readTimecodes(frame);
  if (arrival.info.videoInput != kCaptureInputSDI || device.getAncillaryDataFilter() == 0) return;
  arrival.vanc = sideData.readAncillary(frame, preparedPicture.width);
}

bool BlackMagicNotificationCallback::fillPicture(const Arrival& arrival, IDeckLinkVideoInputFrame& frame,
                                                 CaptureFrame& made) {
  VideoFrameBuffer& picture = *made.getVideoFrameBuffer();
  // What lies in a card's memory without a signal is anything, often green.
  const bool filled = arrival.hasSignal
                          ? converter.convert(frame, devicePtrs.deckLinkFrameConverter.get(), picture)
                          : picture.blackFill() == kSuccess;
  picture.setLocations(VideoFrameBuffer::systemMem);
  return filled;
}

void BlackMagicNotificationCallback::countDropped(Arrival& arrival) {
  const auto index = static_cast<uint64_t>(arrival.videoFrameIndex);
  const uint64_t last = videoLastFrameIndex.exchange(index);
  // A picture of the mode before may come in behind its end, and indexes count since 1970.
  const std::pair rate{arrival.info.videoFrameRateEnum, arrival.info.videoFrameRateDen};
  const bool sameRate = std::exchange(videoRateCounted, rate) == rate;
  if (last == kNone || !sameRate || index <= last + 1) return;
  arrival.dropped = index - last - 1;
  std::printf("capture-skip: dropped:%" PRIu64 " index:%" PRIu64 "\n", arrival.dropped, index);
}

void BlackMagicNotificationCallback::describePicture(Arrival& arrival, CaptureFrame& made) {
  VideoFrameBuffer& picture = *made.getVideoFrameBuffer();
  const CaptureSessionInfoData& info = arrival.info;
  const uint32_t distance = info.videoKeyFrameIntervalAdjusted;
  uint32_t type = kFrameTypeUnknown;
  if (distance != 0) type = arrival.videoFrameIndex % distance == 0 ? kFrameTypeKey : kFrameTypePredicted;
  if (arrival.firstGood) type = kFrameTypeKey;
  arrival.key = type == kFrameTypeKey;
  picture.setFrameType(type);
  picture.setTimecode(arrival.videoMilliseconds);
  picture.setFrameIndex(static_cast<uint64_t>(arrival.videoFrameIndex));
  picture.setColorSpace(info.videoColorSpace);
  uint64_t flags = arrival.hasSignal ? 0 : kFrameFlagNoSignal;
  if (arrival.hasSignal && !preparedPicture.progressive && !preparedPicture.deinterlace) {
    flags |= kFrameFlagInterlaced | (preparedPicture.topFieldFirst ? 0 : kFrameFlagBottomFieldFirst);
  }
  picture.setFlags(flags);
  arrival.hasLevels = sound.takeLevels(arrival.videoMilliseconds, &arrival.levels);
  if (arrival.hasLevels) device.setAudioLastLevelData(arrival.levels);
  picture.getAudioLevelData() = arrival.levels;
  sideData.moveTo(picture);
  arrival.frameWidth = picture.getWidth();
  arrival.frameHeight = picture.getHeight();
  made.setCaptureVideoInput(info.videoInput);
  made.setCaptureAudioInput(info.audioInput);
  made.setCaptureFrameWidth(preparedPicture.width);
  made.setCaptureFrameHeight(preparedPicture.height);
  made.setCaptureTransformFrameWidth(arrival.frameWidth);
  made.setCaptureTransformFrameHeight(arrival.frameHeight);
  made.setCaptureFrameRateEnum(info.videoFrameRateEnum);
  made.setCaptureFrameRateDen(info.videoFrameRateDen);
  made.setCaptureFrameRateDivisor(info.videoFrameRateDivisor);
  made.setCaptureFrameProgressive(preparedPicture.progressive ? 1 : 0);
  const uint64_t captions =
      info.videoVANCCEA708PacketsTotal + arrival.vanc.captions + info.videoLine21CEA708PacketsTotal;
  made.setCaptureFrameClosedCaptions(captions != 0 ? 1 : 0);
}

}  // namespace qvs
