// Decoding through the media runtime: headers, pictures, new sizes in mid-stream.
#include "QuickSyncDecoder.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "MfxStatus.h"
#include "NV12Copy.h"

namespace qvs::plugins {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t kTicksPerMillisecond = 90;
constexpr uint32_t kDone = QVS_DECODE_INPUT_DONE;

uint32_t frameTypeOf(mfxU16 type) {
  if ((type & (MFX_FRAMETYPE_IDR | MFX_FRAMETYPE_I)) != 0) return QVS_FRAME_KEY;
  if ((type & MFX_FRAMETYPE_B) != 0) return QVS_FRAME_BIDIRECTIONAL;
  return (type & MFX_FRAMETYPE_P) != 0 ? QVS_FRAME_PREDICTED : QVS_FRAME_UNKNOWN;
}

uint64_t fieldFlags(mfxU16 structure) {
  if ((structure & MFX_PICSTRUCT_PROGRESSIVE) != 0) return 0;
  if ((structure & MFX_PICSTRUCT_FIELD_BFF) != 0)
    return PictureInfo::kInterlaced | PictureInfo::kBottomFieldFirst;
  return (structure & MFX_PICSTRUCT_FIELD_TFF) != 0 ? PictureInfo::kInterlaced : 0;
}

// Odd pictures, which MPEG-2 allows, are handed out with the column or row that was coded beyond them.
StreamInfo streamOf(const mfxFrameInfo& info) {
  StreamInfo stream;
  stream.frameWidth = (info.CropW + 1u) / 2 * 2;
  stream.frameHeight = (info.CropH + 1u) / 2 * 2;
  stream.displayWidth = info.CropW;
  stream.displayHeight = info.CropH;
  if (info.AspectRatioW > 0 && info.AspectRatioH > 0) {
    stream.displayWidth = info.CropW * info.AspectRatioW / info.AspectRatioH;
  }
  if (info.FrameRateExtD > 0) stream.frameRate = double{1} * info.FrameRateExtN / info.FrameRateExtD;
  return stream;
}

}  // namespace

const QuickSyncDecoderCodec kQuickSyncDecodeH264{"H.264", MFX_CODEC_AVC, true};
const QuickSyncDecoderCodec kQuickSyncDecodeMP2{"MPEG-2", MFX_CODEC_MPEG2, false};

std::span<const KeyRow<QuickSyncDecoderSettings>> quickSyncDecoderKeys() {
  using S = QuickSyncDecoderSettings;
  static constexpr KeyRow<S> kRows[] = {
      {51000, "asyncDepth", &S::asyncDepth, 1, 16,
       "pictures under way at once; each more is one more of delay"},
      {51001, "busyTimeout", &S::busyTimeout, 1, 60000, "milliseconds that a busy device is asked again"},
      {51002, "syncTimeout", &S::syncTimeout, 1, 60000,
       "milliseconds that a picture under way is waited for"},
  };
  return kRows;
}

QuickSyncDecoder::QuickSyncDecoder(const QuickSyncDecoderCodec& row)
    : codec(row), keys(quickSyncDecoderKeys(), settings) {}

int32_t QuickSyncDecoder::open() {
  close();
  const int32_t status = session.open(gpu, problem);
  if (status != QVS_PLUGIN_OK) session.close();
  return status;
}

void QuickSyncDecoder::close() {
  stop();
  session.close();
  surfaces.clear();
  input.clear();
  stream = {};
  picture = {};
  hasFirst = resizing = flushed = false;
  lost.clear();
}

void QuickSyncDecoder::stop() {
  current = nullptr;
  oldest = underWay = 0;
  if (running) MFXVideoDECODE_Close(session);
  running = false;
}

int32_t QuickSyncDecoder::fault(std::string why) {
  lost = std::move(why);
  input.clear();
  return fail(QVS_PLUGIN_INIT_DECODER, lost);
}

int32_t QuickSyncDecoder::giveUp(std::string why) {
  input.clear();
  return fail(QVS_PLUGIN_PARSE_HEADER, std::move(why));
}

int32_t QuickSyncDecoder::configure(std::span<const uint8_t> record) {
  if (!input.configure(record, codec.lengthPrefixed)) {
    return fail(QVS_PLUGIN_PARSE_HEADER, "the codec's configuration is damaged");
  }
  if (running) return QVS_PLUGIN_OK;  // the runtime sees it with the next unit
  mfxVideoParam header{};
  header.mfx.CodecId = codec.id;
  const mfxStatus status = MFXVideoDECODE_DecodeHeader(session, &input.headers(), &header);
  // Some runtimes want a picture behind the header: then the first unit tells the size.
  if (status == MFX_ERR_MORE_DATA) return QVS_PLUGIN_OK;
  if (status < MFX_ERR_NONE)
    return fail(QVS_PLUGIN_PARSE_HEADER, mfxProblem("MFXVideoDECODE_DecodeHeader", status));
  stream = streamOf(header.mfx.FrameInfo);
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncDecoder::add(std::span<const uint8_t> unit, uint64_t timecode) {
  if (!lost.empty()) return fail(QVS_PLUGIN_INIT_DECODER, lost);
  if (!hasFirst) firstTimecode = timecode;
  hasFirst = true;
  // Counted from the first unit, so that any number of milliseconds comes back exactly.
  if (input.add(unit, (timecode - firstTimecode) * kTicksPerMillisecond)) return QVS_PLUGIN_OK;
  return fail(QVS_PLUGIN_PARSE_HEADER, "a unit's length leads beyond its end");
}

int32_t QuickSyncDecoder::decode(uint32_t& flags, bool flush) {
  releaseCurrent();
  if (!lost.empty()) {
    flags |= kDone;
    return fail(QVS_PLUGIN_INIT_DECODER, lost);
  }
  const int32_t status = run(flags, flush);
  if (status != QVS_PLUGIN_OK) flags |= QVS_DECODE_ABORTED;
  if (isDone()) flags |= kDone;
  return status;
}

int32_t QuickSyncDecoder::run(uint32_t& flags, bool flush) {
  while (true) {
    if (!running) {
      bool ready = false;
      const int32_t status = input.empty() ? QVS_PLUGIN_OK : start(flags, ready);
      if (flush && input.empty()) flags |= QVS_DECODE_FLUSHED;
      if (!ready) return status;
    }
    const bool flushing = resizing || (flush && input.empty());
    int32_t status = QVS_PLUGIN_OK;
    switch (submit(flushing, status)) {
      case Step::kFailed:
        return status;
      case Step::kNewSize:
        resizing = true;
        break;
      case Step::kPicture:
        if (underWay >= tasks.size() || flushing) return deliver(flags);
        if (input.empty()) return QVS_PLUGIN_OK;
        break;
      case Step::kMoreInput:
        if (!flushing) return QVS_PLUGIN_OK;
        if (underWay > 0) return deliver(flags);
        if (!resizing) {
          flushed = true;
          flags |= QVS_DECODE_FLUSHED;
          return QVS_PLUGIN_OK;
        }
        resizing = false;
        stop();
    }
  }
}

int32_t QuickSyncDecoder::start(uint32_t& flags, bool& ready) {
  parameters = {};
  parameters.mfx.CodecId = codec.id;
  const mfxStatus status = MFXVideoDECODE_DecodeHeader(session, &input.bits(), &parameters);
  if (status == MFX_ERR_MORE_DATA) {
    // Units come whole: one without a header can't be decoded, whatever follows.
    input.clear();
    return QVS_PLUGIN_OK;
  }
  if (isDeviceFault(status)) return fault(mfxProblem("MFXVideoDECODE_DecodeHeader", status));
  if (status < MFX_ERR_NONE) return giveUp(mfxProblem("MFXVideoDECODE_DecodeHeader", status));
  if (const int32_t failed = setUp(); failed != QVS_PLUGIN_OK) {
    input.clear();
    return failed;
  }
  ready = true;
  flushed = false;
  return noteStream(parameters.mfx.FrameInfo, flags);
}

int32_t QuickSyncDecoder::setUp() {
  parameters.AsyncDepth = static_cast<mfxU16>(settings.asyncDepth);
  parameters.IOPattern = MFX_IOPATTERN_OUT_SYSTEM_MEMORY;
  if (parameters.mfx.FrameInfo.FourCC != MFX_FOURCC_NV12) {
    return fail(QVS_PLUGIN_NO_COLOR_FORMAT, "pictures that are not 4:2:0 in 8 bits");
  }
  if (const mfxStatus status = MFXVideoDECODE_Query(session, &parameters, &parameters);
      status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_CREATE_DECODER, mfxProblem("MFXVideoDECODE_Query", status));
  }
  mfxFrameAllocRequest request{};
  if (const mfxStatus status = MFXVideoDECODE_QueryIOSurf(session, &parameters, &request);
      status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_QUERY_SURFACE, mfxProblem("MFXVideoDECODE_QueryIOSurf", status));
  }
  const auto depth = static_cast<size_t>(settings.asyncDepth);
  // One more for the picture that is being fetched.
  const auto count =
      static_cast<uint32_t>(std::max<size_t>(request.NumFrameSuggested, request.NumFrameMin) + depth + 1);
  if (!surfaces.allocate(parameters.mfx.FrameInfo, count)) {
    return fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for " + std::to_string(count) + " surfaces");
  }
  tasks.assign(depth, {});
  if (const mfxStatus status = MFXVideoDECODE_Init(session, &parameters); status < MFX_ERR_NONE) {
    return fail(QVS_PLUGIN_INIT_DECODER, mfxProblem("MFXVideoDECODE_Init", status));
  }
  running = true;
  return QVS_PLUGIN_OK;
}

int32_t QuickSyncDecoder::resumeAfterFlush() {
  flushed = false;
  const mfxStatus status = MFXVideoDECODE_Reset(session, &parameters);
  return status < MFX_ERR_NONE ? fault(mfxProblem("MFXVideoDECODE_Reset", status)) : QVS_PLUGIN_OK;
}

QuickSyncDecoder::Step QuickSyncDecoder::submit(bool flushing, int32_t& status) {
  if (flushed && !flushing && (status = resumeAfterFlush()) != QVS_PLUGIN_OK) return Step::kFailed;
  const auto begin = Clock::now();
  while (true) {
    mfxFrameSurface1* work = surfaces.findFree();
    Task task;
    const mfxStatus answer =
        work == nullptr ? MFX_WRN_DEVICE_BUSY
                        : MFXVideoDECODE_DecodeFrameAsync(session, flushing ? nullptr : &input.bits(), work,
                                                          &task.surface, &task.sync);
    if (answer == MFX_ERR_MORE_DATA) return Step::kMoreInput;
    if (answer == MFX_ERR_INCOMPATIBLE_VIDEO_PARAM && !flushing) return Step::kNewSize;
    if (answer < MFX_ERR_NONE && answer != MFX_ERR_MORE_SURFACE) {
      std::string why = mfxProblem("MFXVideoDECODE_DecodeFrameAsync", answer);
      status = isDeviceFault(answer) || flushing ? fault(std::move(why)) : giveUp(std::move(why));
      return Step::kFailed;
    }
    if (task.surface != nullptr && task.sync != nullptr) {
      surfaces.hold(task.surface);
      tasks[(oldest + underWay) % tasks.size()] = task;
      ++underWay;
      return Step::kPicture;
    }
    // Asked again for another surface, for changed parameters, or because the device is busy.
    const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
    if (waited >= settings.busyTimeout) {
      status = fault(mfxProblem(work == nullptr ? "no free surface" : "MFXVideoDECODE_DecodeFrameAsync",
                                answer, "after " + std::to_string(waited) + " ms"));
      return Step::kFailed;
    }
    if (answer == MFX_WRN_DEVICE_BUSY) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

int32_t QuickSyncDecoder::deliver(uint32_t& flags) {
  const Task task = tasks[oldest];
  const mfxStatus status = session.sync(task.sync, settings.syncTimeout);
  if (status == MFX_WRN_IN_EXECUTION || status == MFX_WRN_DEVICE_BUSY) {
    return fault(mfxProblem("MFXVideoCORE_SyncOperation", status,
                            "after " + std::to_string(settings.syncTimeout) + " ms"));
  }
  if (status < MFX_ERR_NONE) return fault(mfxProblem("MFXVideoCORE_SyncOperation", status));
  oldest = (oldest + 1) % tasks.size();
  --underWay;
  current = task.surface;
  picture.frameType = frameTypeOf(decodedFrameType(*current));
  picture.flags = fieldFlags(current->Info.PicStruct);
  const auto ticks = static_cast<int64_t>(current->Data.TimeStamp);
  picture.timecode =
      firstTimecode + static_cast<uint64_t>(ticks / static_cast<int64_t>(kTicksPerMillisecond));
  flags |= QVS_DECODE_PICTURE_DONE | QVS_DECODE_FRAME_AVAILABLE;
  if (current->Data.Corrupted != MFX_CORRUPTION_NO) flags |= QVS_DECODE_FRAME_ERROR;
  return noteStream(current->Info, flags);
}

// A crop that leads out of its surface would be read out of bounds.
int32_t QuickSyncDecoder::noteStream(const mfxFrameInfo& info, uint32_t& flags) {
  const StreamInfo told = streamOf(info);
  const mfxFrameInfo& room = parameters.mfx.FrameInfo;
  if (told.frameWidth == 0 || told.frameHeight == 0 || info.CropX + told.frameWidth > room.Width ||
      info.CropY + told.frameHeight > room.Height) {
    releaseCurrent();
    return fault("the runtime tells a picture that leads out of its surface");
  }
  if (!(told == stream)) flags |= QVS_DECODE_INFO_UPDATED;
  stream = told;
  return QVS_PLUGIN_OK;
}

void QuickSyncDecoder::releaseCurrent() {
  if (current != nullptr) surfaces.release(current);
  current = nullptr;
}

int32_t QuickSyncDecoder::copyPicture(const PictureTarget& target) {
  copyFromSurface(*current, stream.frameWidth, stream.frameHeight, target);
  return QVS_PLUGIN_OK;
}

void QuickSyncDecoder::showPicture(PluginVideoBuffer& view) {
  const uint32_t pitch = pitchOf(*current);
  const size_t x = current->Info.CropX / 2u * 2u, y = current->Info.CropY / 2u * 2u;
  view.plane[0] = current->Data.Y + y * pitch + x;
  view.plane[1] = current->Data.UV + y / 2 * pitch + x;
  view.stride[0] = view.stride[1] = pitch;
  view.four_cc = MFX_FOURCC_NV12;
}

}  // namespace qvs::plugins
