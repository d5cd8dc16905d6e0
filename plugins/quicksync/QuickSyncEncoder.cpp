// Encoding through the media runtime: pictures in, coded pictures collected, the rate changed while running.
#include "QuickSyncEncoder.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "MfxStatus.h"
#include "NV12Copy.h"

namespace qvs::plugins {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kMostCodedBytes = 256u << 20;

std::string afterMilliseconds(int64_t milliseconds) {
  return "after " + std::to_string(milliseconds) + " ms";
}

uint32_t frameTypeOf(mfxU16 type) {
  if ((type & MFX_FRAMETYPE_IDR) != 0) return QVS_FRAME_KEY;
  return (type & MFX_FRAMETYPE_B) != 0 ? QVS_FRAME_BIDIRECTIONAL : QVS_FRAME_PREDICTED;
}

}  // namespace

QuickSyncEncoder::QuickSyncEncoder(const QuickSyncCodec& row)
    : KeyedSession(quickSyncEncoderKeys()), codec(row) {
  keyControl.FrameType = MFX_FRAMETYPE_I | MFX_FRAMETYPE_IDR | MFX_FRAMETYPE_REF;
}

int32_t QuickSyncEncoder::open() {
  close();
  if (common.width < 2 || common.height < 2) return fail(QVS_PLUGIN_INIT_ENCODER, "a picture below 2x2");
  if (const int32_t status = session.open(common.gpu, problem); status != QVS_PLUGIN_OK) return status;
  // Settings may be changed for the next opening while this one runs.
  parameters.fill(codec, common, settings);
  const int32_t status = start();
  if (status != QVS_PLUGIN_OK) close();
  return status;
}

int32_t QuickSyncEncoder::start() {
  mfxVideoParam& video = parameters.video;
  if (const mfxStatus status = MFXVideoENCODE_Query(session, &video, &video); status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_CREATE_ENCODER, mfxProblem("MFXVideoENCODE_Query", status));
  }
  if (const int32_t status = allocate(); status != QVS_PLUGIN_OK) return status;
  if (const mfxStatus status = MFXVideoENCODE_Init(session, &video); status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_INIT_ENCODER, mfxProblem("MFXVideoENCODE_Init", status));
  }
  running = true;
  if (const int32_t status = readHeaders(); status != QVS_PLUGIN_OK) return status;
  for (Task& task : tasks) {
    if (!grow(task)) return fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for coded pictures");
  }
  ticks = parameters.ticksPerPicture();
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncEncoder::allocate() {
  mfxFrameAllocRequest request{};
  const mfxStatus status = MFXVideoENCODE_QueryIOSurf(session, &parameters.video, &request);
  if (status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_QUERY_SURFACE, mfxProblem("MFXVideoENCODE_QueryIOSurf", status));
  }
  const auto depth = std::max<size_t>(parameters.video.AsyncDepth, parameters.reordering() > 0 ? 2 : 1);
  const auto count =
      static_cast<uint32_t>(std::max<size_t>(request.NumFrameSuggested, request.NumFrameMin) + depth);
  if (!surfaces.allocate(parameters.video.mfx.FrameInfo, count)) {
    return fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for " + std::to_string(count) + " surfaces");
  }
  tasks = std::vector<Task>(depth);
  return QVS_PLUGIN_OK;
}

// The runtime goes before the memory that it works on.
void QuickSyncEncoder::close() {
  if (running) MFXVideoENCODE_Close(session);
  running = false;
  session.close();
  tasks.clear();
  surfaces.clear();
  headers.clear();
  oldest = underWay = 0;
  times.restart();
  given = coded = 0;
  lost.clear();
}

int32_t QuickSyncEncoder::fault(std::string why) {
  lost = std::move(why);
  return fail(QVS_PLUGIN_INIT_ENCODER, lost);
}

int32_t QuickSyncEncoder::readHeaders() {
  uint8_t bytes[3][1024];
  mfxExtCodingOptionSPSPPS sets{};
  sets.Header = {MFX_EXTBUFF_CODING_OPTION_SPSPPS, sizeof sets};
  sets.SPSBuffer = bytes[1];
  sets.PPSBuffer = bytes[2];
  sets.SPSBufSize = sets.PPSBufSize = sizeof bytes[0];
  mfxExtCodingOptionVPS video{};
  video.Header = {MFX_EXTBUFF_CODING_OPTION_VPS, sizeof video};
  video.VPSBuffer = bytes[0];
  video.VPSBufSize = sizeof bytes[0];
  const bool hasVps = codec.id == MFX_CODEC_HEVC;
  mfxExtBuffer* attached[] = {&sets.Header, &video.Header};
  mfxVideoParam told{};
  told.ExtParam = attached;
  told.NumExtParam = hasVps ? 2 : 1;
  if (const mfxStatus status = MFXVideoENCODE_GetVideoParam(session, &told); status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_INIT_ENCODER, mfxProblem("MFXVideoENCODE_GetVideoParam", status));
  }
  headers.clear();
  if (hasVps) headers.insert(headers.end(), bytes[0], bytes[0] + video.VPSBufSize);
  headers.insert(headers.end(), bytes[1], bytes[1] + sets.SPSBufSize);
  headers.insert(headers.end(), bytes[2], bytes[2] + sets.PPSBufSize);
  parameters.video.mfx.GopRefDist = told.mfx.GopRefDist;
  parameters.video.mfx.BufferSizeInKB = told.mfx.BufferSizeInKB;
  parameters.video.mfx.BRCParamMultiplier = std::max<mfxU16>(told.mfx.BRCParamMultiplier, 1);
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncEncoder::encode(const Picture& picture) {
  mfxFrameSurface1* surface = nullptr;
  if (const int32_t status = takeSurface(surface); status != QVS_PLUGIN_OK) return status;
  copyToSurface(picture, *surface);
  return encodeSurface(*surface, picture.key, picture.timecode);
}

int32_t QuickSyncEncoder::encodeSurface(mfxFrameSurface1& surface, bool key, uint64_t timecode) {
  surface.Data.TimeStamp = static_cast<mfxU64>(times.add(timecode)) * ticks;
  ++given;
  bool ready = false;
  const int32_t status = submit(&surface, key ? &keyControl : nullptr, ready);
  if (status != QVS_PLUGIN_OK) return status;
  // The times ahead of the first picture follow from the second one's.
  if (given < 2 && parameters.reordering() > 0) return QVS_PLUGIN_OK;
  return collect(tasks.size() - 1);
}

int32_t QuickSyncEncoder::takeSurface(mfxFrameSurface1*& surface) {
  if (!lost.empty()) return fail(QVS_PLUGIN_INIT_ENCODER, lost);
  const auto deadline = Clock::now() + std::chrono::milliseconds(settings.syncTimeout);
  while ((surface = surfaces.findFree()) == nullptr) {
    if (Clock::now() >= deadline) {
      return fault("the runtime holds every surface " + afterMilliseconds(settings.syncTimeout));
    }
    bool done = false;
    if (underWay == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } else if (const int32_t status = collectOldest(10, done); status != QVS_PLUGIN_OK) {
      return status;
    }
  }
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncEncoder::submit(mfxFrameSurface1* surface, mfxEncodeCtrl* control, bool& ready) {
  ready = false;
  if (const int32_t status = collect(tasks.size() - 1); status != QVS_PLUGIN_OK) return status;
  Task& task = tasks[(oldest + underWay) % tasks.size()];
  const auto deadline = Clock::now() + std::chrono::milliseconds(settings.busyTimeout);
  while (true) {
    const mfxStatus status =
        MFXVideoENCODE_EncodeFrameAsync(session, control, surface, &task.bits, &task.sync);
    if (status == MFX_ERR_MORE_DATA) return QVS_PLUGIN_OK;
    if (status == MFX_ERR_NOT_ENOUGH_BUFFER && grow(task)) continue;
    if (status == MFX_WRN_DEVICE_BUSY && Clock::now() < deadline) {
      // Taking out what is done may be all that the device waits for; otherwise it is given a moment.
      bool done = false;
      if (underWay > 0) {
        if (const int32_t failed = collectOldest(5, done); failed != QVS_PLUGIN_OK) return failed;
      }
      if (!done) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      continue;
    }
    if (status == MFX_WRN_DEVICE_BUSY) {
      return fault(
          mfxProblem("MFXVideoENCODE_EncodeFrameAsync", status, afterMilliseconds(settings.busyTimeout)));
    }
    if (status < MFX_ERR_NONE) return fault(mfxProblem("MFXVideoENCODE_EncodeFrameAsync", status));
    ready = task.sync != nullptr;
    if (ready) ++underWay;
    return QVS_PLUGIN_OK;
  }
}

// To the size of the largest picture, and to the double where that was too small.
bool QuickSyncEncoder::grow(Task& task) {
  const size_t size = std::max<size_t>(parameters.largestCoded(), task.memory.size() * 2);
  if (size > kMostCodedBytes) return false;
  task.memory.resize(size);
  task.bits.Data = task.memory.data();
  task.bits.MaxLength = static_cast<mfxU32>(size);
  task.bits.DataOffset = task.bits.DataLength = 0;
  return true;
}

int32_t QuickSyncEncoder::collectOldest(int64_t milliseconds, bool& done) {
  Task& task = tasks[oldest];
  const mfxStatus status = session.sync(task.sync, milliseconds);
  done = status != MFX_WRN_IN_EXECUTION && status != MFX_WRN_DEVICE_BUSY;
  if (!done) return QVS_PLUGIN_OK;
  if (status < MFX_ERR_NONE) return fault(mfxProblem("MFXVideoCORE_SyncOperation", status));
  oldest = (oldest + 1) % tasks.size();
  --underWay;
  const int32_t result = put(task);
  task.sync = nullptr;
  task.bits.DataOffset = task.bits.DataLength = 0;
  return result;
}

int32_t QuickSyncEncoder::collect(size_t allowed) {
  while (underWay > 0) {
    const bool mustWait = underWay > allowed;
    bool done = false;
    const int32_t status = collectOldest(mustWait ? settings.syncTimeout : 0, done);
    if (status != QVS_PLUGIN_OK || (!done && !mustWait)) return status;
    if (!done) {
      return fault(mfxProblem("MFXVideoCORE_SyncOperation", MFX_WRN_IN_EXECUTION,
                              afterMilliseconds(settings.syncTimeout)));
    }
  }
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncEncoder::put(const Task& task) {
  std::span<const uint8_t> bytes{task.bits.Data + task.bits.DataOffset, task.bits.DataLength};
  FrameInfo info;
  info.frameType = frameTypeOf(task.bits.FrameType);
  if (info.frameType == QVS_FRAME_KEY) bytes = withHeaders(bytes);
  times.fill(info, static_cast<int64_t>(task.bits.TimeStamp / ticks), coded++ - parameters.reordering());
  return output.addAnnexB(info, bytes) ? QVS_PLUGIN_OK
                                       : fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for a coded picture");
}

// A stream can be entered at each of its key frames, whether the runtime repeats the parameter sets or not.
std::span<const uint8_t> QuickSyncEncoder::withHeaders(std::span<const uint8_t> bytes) {
  if (hasHeaders(bytes)) return bytes;
  joined.assign(headers.begin(), headers.end());
  joined.insert(joined.end(), bytes.begin(), bytes.end());
  return joined;
}

bool QuickSyncEncoder::hasHeaders(std::span<const uint8_t> bytes) const {
  bool found = false;
  forEachUnit(bytes, [&](std::span<const uint8_t> unit) {
    found = found || (unit[0] >> codec.unitTypeShift & codec.unitTypeMask) == codec.sequenceUnit;
  });
  return found;
}

int32_t QuickSyncEncoder::flushAll() {
  bool ready = true;
  while (ready) {
    if (static_cast<int64_t>(underWay) > given - coded)
      return fault("the runtime gives more pictures than it was given");
    if (const int32_t status = submit(nullptr, nullptr, ready); status != QVS_PLUGIN_OK) return status;
  }
  return collect(0);
}

int32_t QuickSyncEncoder::drain() {
  if (!lost.empty()) return fail(QVS_PLUGIN_INIT_ENCODER, lost);
  return flushAll();
}

int32_t QuickSyncEncoder::changeBitRate(uint32_t bitsPerSecond) {
  if (!lost.empty()) return fail(QVS_PLUGIN_INIT_ENCODER, lost);
  if (!parameters.hasBitRate()) return fail(QVS_PLUGIN_NO_VBR, "rate control without a bit rate");
  if (bitsPerSecond == 0) return fail(QVS_PLUGIN_NO_VBR, "a bit rate of 0");
  // Pictures that wait for later ones would be coded at the new rate, or lost with the old sequence.
  const bool reordered = parameters.reordering() > 0 || parameters.looksAhead();
  if (const int32_t status = reordered ? flushAll() : collect(0); status != QVS_PLUGIN_OK) return status;
  parameters.setBitRate(bitsPerSecond, settings);
  return reset(reordered);
}

int32_t QuickSyncEncoder::reset(bool newSequence) {
  parameters.attachReset(newSequence);
  const mfxStatus status = MFXVideoENCODE_Reset(session, &parameters.video);
  parameters.detachReset();
  if (!newSequence && (status == MFX_ERR_INCOMPATIBLE_VIDEO_PARAM || status == MFX_ERR_INVALID_VIDEO_PARAM)) {
    // This runtime changes the rate only with a key frame.
    if (const int32_t failed = flushAll(); failed != QVS_PLUGIN_OK) return failed;
    return reset(true);
  }
  if (status < MFX_ERR_NONE) return fault(mfxProblem("MFXVideoENCODE_Reset", status));
  const int32_t read = readHeaders();
  return read == QVS_PLUGIN_OK ? read : fault(problem);
}

}  // namespace qvs::plugins
