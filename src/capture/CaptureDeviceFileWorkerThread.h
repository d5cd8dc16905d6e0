#pragma once

#include <atomic>
#include <cstdint>

#include "capture/CaptureFileSource.h"
#include "platform/ICrossplatformThreadRunnable.h"

namespace qvs {

class AudioSampleBuffer;
class CaptureFrame;
class CaptureMediaFile;
class ILogger;
class VideoFrameBuffer;

/// Where the worker gets frames from and gives them to. Called on its thread.
class ICaptureFileConsumer {
 public:
  virtual ~ICaptureFileConsumer() = default;

  /// The caller owns them; null where memory is out, which costs that frame.
  virtual CaptureFrame* pictureToFill() = 0;
  virtual CaptureFrame* soundToFill(uint32_t sampleCount) = 0;
  /// These take the frame over. Timecodes: of pictures ms, of sound samples.
  virtual void deliverPicture(CaptureFrame* frame, uint64_t timecode) = 0;
  virtual void deliverSound(CaptureFrame* frame, uint64_t timecode, uint32_t sampleCount) = 0;
};

/// The thread of a file device: reads the files in real time until it is told to stop.
class CaptureDeviceFileWorkerThread final : public ICrossplatformThreadRunnable {
 public:
  /// All borrowed; `logger` may be null.
  CaptureDeviceFileWorkerThread(const CaptureFileSource& source, ICaptureFileConsumer& consumer,
                                ILogger* logger)
      : source(source), consumer(consumer), logger(logger) {}

  void threadWork() override;
  /// Before a start, and to end the run.
  void setStop(bool value) { workerThreadStop = value; }

 private:
  void playPicture(const CaptureMediaFile& file, uint64_t index, uint64_t position);
  void playSound(const CaptureMediaFile& file, uint64_t index);
  bool readPicture(const CaptureMediaFile& file, uint64_t position, VideoFrameBuffer& picture) const;
  void tellShort(const char* what);

  const CaptureFileSource& source;
  ICaptureFileConsumer& consumer;
  ILogger* const logger;
  std::atomic<bool> workerThreadStop{false};
  bool toldShort = false;          ///< this and the next two belong to the thread
  uint64_t lastWholePosition = 0;  ///< of a picture that was read whole
  uint64_t audioOffset = 0;        ///< bytes into the samples
};

}  // namespace qvs
