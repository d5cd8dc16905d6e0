// Plays the files of a capture directory in real time.
#include "capture/CaptureDeviceFileWorkerThread.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "capture/CaptureFrame.h"
#include "capture/CaptureMediaFile.h"
#include "log/ILogger.h"
#include "platform/SystemTimeUtil.h"

namespace qvs {

namespace {
constexpr useconds_t kPauseUs = 5000;
}

void CaptureDeviceFileWorkerThread::threadWork() {
  const CaptureMediaFile video(source.hasVideo() ? source.filePathVideo : std::string());
  const CaptureMediaFile audio(source.hasAudio() ? source.filePathAudio : std::string());
  const uint64_t loop = source.getLoopLength();
  SystemTimeUtil& clock = *SystemTimeUtil::getInstance();
  const uint64_t base = clock.getSystemTimeMilliseconds();
  toldShort = false;
  lastWholePosition = audioOffset = 0;
  for (uint64_t index = 0; !workerThreadStop; usleep(kPauseUs)) {
    if (clock.getSystemTimeMilliseconds() < base + source.periods(index, 1000)) continue;
    const uint64_t position = index % loop;
    if (position == 0) audioOffset = 0;
    if (source.hasVideo()) playPicture(video, index, position);
    if (source.hasAudio()) playSound(audio, index);
    ++index;
  }
}

bool CaptureDeviceFileWorkerThread::readPicture(const CaptureMediaFile& file, uint64_t position,
                                                VideoFrameBuffer& picture) const {
  if (!file.isOpen()) return false;
  uint64_t offset = source.videoFileOffset + position * source.videoFrameSizeBytes;
  // The file's planes lie as those of "YV12" do: Y, V, U.
  for (uint32_t plane = 0; plane < 3; ++plane) {
    const uint32_t shift = plane == 0 ? 0 : 1;
    const size_t width = source.videoFrameWidth >> shift;
    size_t rows = source.videoFrameHeight >> shift;
    const auto stride = static_cast<size_t>(picture.getStride(plane));
    const size_t step = stride == width ? width * rows : width;
    if (stride == width) rows = 1;
    for (size_t row = 0; row < rows; ++row, offset += step) {
      if (file.read(offset, picture.getPlane(plane) + row * stride, step) != step) return false;
    }
  }
  return true;
}

void CaptureDeviceFileWorkerThread::playPicture(const CaptureMediaFile& file, uint64_t index,
                                                uint64_t position) {
  CaptureFrame* const frame = consumer.pictureToFill();
  if (frame == nullptr) return;
  VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
  if (readPicture(file, position, picture)) {
    lastWholePosition = position;
  } else {
    tellShort("video");
    // Half a picture is worse than the one before.
    if (!readPicture(file, lastWholePosition, picture)) picture.blackFill();
  }
  consumer.deliverPicture(frame, source.periods(index, 1000));
}

void CaptureDeviceFileWorkerThread::playSound(const CaptureMediaFile& file, uint64_t index) {
  const uint64_t start = source.periods(index, source.audioSampleRate);
  const auto samples = static_cast<uint32_t>(source.periods(index + 1, source.audioSampleRate) - start);
  CaptureFrame* const frame = consumer.soundToFill(samples);
  const auto wanted = static_cast<size_t>(source.audioFrameSizeBytes * samples);
  if (frame != nullptr) {
    // The file may end amid a block, or hold other chunks behind the samples; from there on it is silent.
    const uint64_t there = source.audioFrameCount * source.audioFrameSizeBytes;
    const size_t inFile =
        static_cast<size_t>(std::min<uint64_t>(wanted, there - std::min(there, audioOffset)));
    uint8_t* const to = frame->getAudioSampleBuffer()->getBuffer();
    const size_t got = file.isOpen() ? file.read(source.audioFileOffset + audioOffset, to, inFile) : 0;
    if (got != wanted) tellShort("audio");
    std::fill(to + got, to + wanted, uint8_t{0});
    consumer.deliverSound(frame, start, samples);
  }
  audioOffset += wanted;
}

void CaptureDeviceFileWorkerThread::tellShort(const char* what) {
  if (std::exchange(toldShort, true)) return;
  const std::string text = fmt::format(
      "CaptureDeviceFileWorkerThread.threadWork[{{context}}]: Short {} file: the last whole picture, or "
      "silence, "
      "takes the place of what is missing",
      what);
  if (logger != nullptr) {
    logger->warn(text);
  } else {
    std::printf("WARN: %s\n", text.c_str());
  }
}

}  // namespace qvs
