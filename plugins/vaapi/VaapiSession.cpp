// An encoder on a card through libva: opening it, pictures in, coded pictures out, closing.
#include "VaapiSession.h"

#include <algorithm>
#include <cmath>

namespace qvs::vaapi {
namespace {

using plugins::FrameInfo;
using plugins::Picture;

constexpr uint32_t kSurfaceStep = 16;
constexpr uint32_t kMaxSide = 8192;
constexpr uint32_t kHeaderRoom = 65536;
constexpr uint32_t kKeylessInterval = 0x7FFF;

uint32_t aligned(uint32_t side) {
  return (side + kSurfaceStep - 1) / kSurfaceStep * kSurfaceStep;
}

/// libva holds both numbers in 16 bits.
plugins::FrameRate rateFor(double framesPerSecond) {
  const plugins::FrameRate exact = plugins::frameRateOf(framesPerSecond);
  if (exact.num <= 0xFFFF) return exact;
  return {static_cast<uint32_t>(std::lround(framesPerSecond * 60)), 60};
}

/// Opens the card of the number, or of -1 the first on which `suits` succeeds. The first card's failure is told where
/// none does.
template <typename Suits>
Outcome openFirst(VaDisplay& display, int gpu, Suits suits) {
  const auto open = [&](int number) {
    Outcome result = display.open(number);
    if (!result.failed()) result = suits();
    if (result.failed()) display.close();
    return result;
  };
  if (gpu >= 0) return open(gpu);
  Outcome first;
  for (int number = 0; number < VaDisplay::kNodes; ++number) {
    if (!VaDisplay::exists(number)) continue;
    Outcome result = open(number);
    if (!result.failed()) return result;
    keepFirst(first, std::move(result));
  }
  if (first.failed()) return first;
  return {QVS_PLUGIN_OPEN_CARD, "there is no render node, " + VaDisplay::nodePath(0) + " to " +
                                    VaDisplay::nodePath(VaDisplay::kNodes - 1)};
}

}  // namespace

VaapiSession::VaapiSession() : KeyedSession(kVaapiKeys), codec(kCodecRow.make()) {}

int32_t VaapiSession::version(std::string& text, uint32_t& major, uint32_t& minor) {
  const std::unique_ptr<VaCodec> codec = kCodecRow.make();
  VaDisplay display;
  DriverChoice choice;
  Outcome result = openFirst(display, -1, [&] {
    choice = {};
    return chooseDriver(display.handle(), *codec, {}, 0, 0, choice);
  });
  if (result.failed()) {
    text = std::move(result.words);
    return result.status;
  }
  const char* vendor = vaQueryVendorString(display.handle());
  text = vendor != nullptr ? vendor : "a driver without a name";
  major = static_cast<uint32_t>(display.major);
  minor = static_cast<uint32_t>(display.minor);
  return QVS_PLUGIN_OK;
}

std::string VaapiSession::describe() {
  return plugins::KeyTable<VaapiSettings>::describe(
      {kCodecRow.name, kCodecRow.codecs, "libva", kMaxSide, kMaxSide}, kVaapiKeys);
}

Outcome VaapiSession::checkSettings() const {
  const auto refuse = [](std::string why) { return Outcome{QVS_PLUGIN_INIT_ENCODER, std::move(why)}; };
  if (width == 0 || height == 0) return refuse("the codec takes no side of one pixel");
  const auto most = static_cast<int64_t>(codec->maxQp());
  if (std::max({settings.qp, settings.minQp, settings.maxQp}) > most) {
    return refuse("the codec's quantizers end at " + std::to_string(most));
  }
  if (settings.maxQp != 0 && settings.minQp > settings.maxQp) return refuse("minQp is above maxQp");
  return {};
}

StreamShape VaapiSession::shapeFor(const DriverChoice& choice) const {
  StreamShape shape;
  shape.width = width;
  shape.height = height;
  shape.rate = rateFor(common.frameRate);
  shape.profile = choice.profile;
  shape.level = static_cast<uint32_t>(settings.level);
  shape.keyInterval =
      common.keyFrameFollow ? kKeylessInterval : static_cast<uint32_t>(settings.keyFrameInterval);
  shape.qp = settings.qp == 0 ? codec->defaultQp() : static_cast<uint32_t>(settings.qp);
  shape.constantQp = choice.rateControl == VA_RC_CQP;
  shape.color = {static_cast<uint32_t>(settings.colorPrimaries),
                 static_cast<uint32_t>(settings.colorTransfer), static_cast<uint32_t>(settings.colorMatrix),
                 static_cast<int>(settings.fullRange)};
  shape.lowDelayB = choice.lowDelayB;
  shape.hevcFeatures = choice.hevcFeatures;
  shape.hevcBlocks = choice.hevcBlocks;
  shape.packed = choice.packed;
  return shape;
}

int32_t VaapiSession::open() {
  close();
  broken = {};
  const uint32_t drop = codec->takesOddSides() ? 0 : 1;
  width = common.width & ~drop;
  height = common.height & ~drop;
  DriverChoice choice;
  Outcome result = checkSettings();
  if (!result.failed()) result = openCard(choice);
  if (!result.failed() && choice.rateControl != VA_RC_CQP && common.bitRate == 0) {
    result = {QVS_PLUGIN_INIT_ENCODER, "no bit rate is set"};
  }
  if (!result.failed()) {
    StreamShape shape = shapeFor(choice);
    rate.begin(settings, choice.rateControl, shape.rate, choice.qualityLevels);
    rate.setBitRate(common.bitRate);
    shape.bitsPerSecond = rate.highest();
    codec->begin(shape);
    result = createContext(choice);
  }
  if (!result.failed()) result = createSlots();
  if (!result.failed()) {
    result = upload.begin(display.handle(), inputs.front(), width, height, slots.size());
  }
  if (result.failed()) {
    close();
    return fail(result.status, std::move(result.words));
  }
  wait.begin(display.handle(), settings.syncTimeout);
  submitted = collected = 0;
  sinceKey = keyNumber = 0;
  keyInterval = common.keyFrameFollow ? 0 : static_cast<uint32_t>(settings.keyFrameInterval);
  rateChanged = false;
  return QVS_PLUGIN_OK;
}

Outcome VaapiSession::openCard(DriverChoice& choice) {
  return openFirst(display, common.gpu, [&] {
    choice = {};
    return chooseDriver(display.handle(), *codec, settings, width, height, choice);
  });
}

Outcome VaapiSession::createContext(const DriverChoice& choice) {
  VAConfigAttrib attributes[] = {{VAConfigAttribRTFormat, VA_RT_FORMAT_YUV420},
                                 {VAConfigAttribRateControl, choice.rateControl},
                                 {VAConfigAttribEncPackedHeaders, choice.packed}};
  Outcome result = outcomeOf(vaCreateConfig(display.handle(), choice.profile, choice.entrypoint, attributes,
                                            choice.takesPacked ? 3 : 2, &config),
                             QVS_PLUGIN_CREATE_CONFIG, "vaCreateConfig");
  if (result.failed()) return result;
  const auto depth = static_cast<size_t>(settings.asyncDepth);
  inputs.assign(depth, VA_INVALID_SURFACE);
  // One more than the card may be writing at once stays readable as the reference.
  reconstructed.assign(depth + 1, VA_INVALID_SURFACE);
  result = createSurfaces(width, height, inputs);
  if (result.failed()) return result;
  result = createSurfaces(aligned(width), aligned(height), reconstructed);
  if (result.failed()) return result;
  return outcomeOf(vaCreateContext(display.handle(), config, static_cast<int>(aligned(width)),
                                   static_cast<int>(aligned(height)), VA_PROGRESSIVE, reconstructed.data(),
                                   static_cast<int>(reconstructed.size()), &context),
                   QVS_PLUGIN_CREATE_CONTEXT, "vaCreateContext");
}

Outcome VaapiSession::createSurfaces(uint32_t width, uint32_t height, std::span<VASurfaceID> surfaces) {
  VASurfaceAttrib format{};
  format.type = VASurfaceAttribPixelFormat;
  format.flags = VA_SURFACE_ATTRIB_SETTABLE;
  format.value.type = VAGenericValueTypeInteger;
  format.value.value.i = VA_FOURCC_NV12;
  Outcome result =
      outcomeOf(vaCreateSurfaces(display.handle(), VA_RT_FORMAT_YUV420, width, height, surfaces.data(),
                                 static_cast<unsigned>(surfaces.size()), &format, 1),
                QVS_PLUGIN_CREATE_SURFACES, "vaCreateSurfaces");
  if (result.failed()) std::ranges::fill(surfaces, VA_INVALID_SURFACE);  // none of them is ours
  return result;
}

Outcome VaapiSession::createSlots() {
  // No picture is coded in more than its samples and headers.
  const uint32_t size = aligned(width) * aligned(height) * 3 / 2 + kHeaderRoom;
  for (VASurfaceID surface : inputs) {
    slots.push_back({surface, VA_INVALID_ID, {}});
    Outcome result = outcomeOf(vaCreateBuffer(display.handle(), context, VAEncCodedBufferType, size, 1,
                                              nullptr, &slots.back().coded),
                               QVS_PLUGIN_CREATE_CODED_BUFFER, "vaCreateBuffer (coded)");
    if (result.failed()) {
      slots.pop_back();
      return result;
    }
  }
  return {};
}

void VaapiSession::close() {
  VADisplay handle = display.handle();
  if (handle == nullptr) return;
  upload.end();
  for (const Slot& slot : slots) vaDestroyBuffer(handle, slot.coded);
  slots.clear();
  if (context != VA_INVALID_ID) vaDestroyContext(handle, context);
  context = VA_INVALID_ID;
  for (std::vector<VASurfaceID>* surfaces : {&inputs, &reconstructed}) {
    if (!surfaces->empty() && surfaces->front() != VA_INVALID_SURFACE) {
      vaDestroySurfaces(handle, surfaces->data(), static_cast<int>(surfaces->size()));
    }
    surfaces->clear();
  }
  if (config != VA_INVALID_ID) vaDestroyConfig(handle, config);
  config = VA_INVALID_ID;
  display.close();
}

int32_t VaapiSession::finish(Outcome outcome) {
  if (!outcome.failed()) return QVS_PLUGIN_OK;
  broken = outcome;
  return fail(outcome.status, std::move(outcome.words));
}

int32_t VaapiSession::encode(const Picture& picture) {
  if (broken.failed()) return fail(broken.status, "not taken after a failure of " + broken.words);
  Outcome result = submit(picture);
  if (!result.failed() && submitted - collected == slots.size()) result = collect();
  return finish(std::move(result));
}

int32_t VaapiSession::drain() {
  Outcome result = broken;
  while (!result.failed() && collected != submitted) result = collect();
  return finish(std::move(result));
}

int32_t VaapiSession::changeBitRate(uint32_t bitsPerSecond) {
  if (!rate.isControlled()) return fail(QVS_PLUGIN_NO_VBR, "a constant quantizer has no bit rate to change");
  if (bitsPerSecond == 0) return fail(QVS_PLUGIN_INIT_ENCODER, "a bit rate of 0");
  rate.setBitRate(bitsPerSecond);
  codec->setBitRate(rate.highest());
  rateChanged = true;
  return QVS_PLUGIN_OK;
}

Outcome VaapiSession::submit(const Picture& picture) {
  const size_t at = submitted % slots.size();
  Slot& slot = slots[at];
  Outcome result = upload.put(picture, slot.surface, at);
  if (result.failed()) return result;

  const bool due = keyInterval != 0 && sinceKey >= keyInterval;
  PictureState state{};
  state.key = picture.key || submitted == 0 || due;
  if (state.key) {
    sinceKey = 0;
    ++keyNumber;
  }
  state.sinceKey = sinceKey;
  state.keyNumber = keyNumber;
  const size_t count = reconstructed.size();
  state.reconstructed = reconstructed[submitted % count];
  state.reference = state.key ? VA_INVALID_SURFACE : reconstructed[(submitted + count - 1) % count];
  state.coded = slot.coded;
  slot.info = {state.key ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED, picture.timecode, 0};

  parameters.clear();
  if (state.key) codec->sequence(parameters);
  if (state.key || rateChanged) rate.add(parameters);
  rateChanged = false;
  codec->picture(state, parameters);
  result = createParameters();
  if (!result.failed()) result = run(slot.surface);
  destroyParameters();
  if (result.failed()) return result;
  ++submitted;
  ++sinceKey;
  return {};
}

Outcome VaapiSession::createParameters() {
  for (const Parameter& parameter : parameters.all()) {
    VABufferID id = VA_INVALID_ID;
    // The call takes a pointer to what it only reads.
    Outcome result = outcomeOf(vaCreateBuffer(display.handle(), context, parameter.type, parameter.size, 1,
                                              const_cast<void*>(parameter.data), &id),
                               QVS_PLUGIN_CREATE_SEQUENCE_BUFFER, "vaCreateBuffer");
    if (result.failed()) return result;
    buffers.push_back(id);
  }
  return {};
}

Outcome VaapiSession::run(VASurfaceID surface) {
  constexpr int32_t kStatus = QVS_PLUGIN_INIT_ENCODER;
  Outcome result = outcomeOf(vaBeginPicture(display.handle(), context, surface), kStatus, "vaBeginPicture");
  if (result.failed()) return result;
  result =
      outcomeOf(vaRenderPicture(display.handle(), context, buffers.data(), static_cast<int>(buffers.size())),
                kStatus, "vaRenderPicture");
  // A picture that was begun is ended in any case.
  keepFirst(result, outcomeOf(vaEndPicture(display.handle(), context), kStatus, "vaEndPicture"));
  return result;
}

void VaapiSession::destroyParameters() {
  for (VABufferID id : buffers) vaDestroyBuffer(display.handle(), id);
  buffers.clear();
}

Outcome VaapiSession::collect() {
  constexpr int32_t kStatus = QVS_PLUGIN_CREATE_CODED_BUFFER;
  const Slot& slot = slots[collected % slots.size()];
  Outcome result = wait.wait(slot.coded, slot.surface);
  if (result.failed()) return result;
  void* segments = nullptr;
  result = outcomeOf(vaMapBuffer(display.handle(), slot.coded, &segments), kStatus, "vaMapBuffer");
  if (result.failed()) return result;
  result = read(static_cast<const VACodedBufferSegment*>(segments), slot.info);
  keepFirst(result, outcomeOf(vaUnmapBuffer(display.handle(), slot.coded), kStatus, "vaUnmapBuffer"));
  ++collected;
  return result;
}

Outcome VaapiSession::read(const VACodedBufferSegment* segment, const FrameInfo& info) {
  constexpr uint32_t kFaults = VA_CODED_BUF_STATUS_SLICE_OVERFLOW_MASK | VA_CODED_BUF_STATUS_BAD_BITSTREAM;
  const auto bytesOf = [](const VACodedBufferSegment& one) {
    return std::span(static_cast<const uint8_t*>(one.buf), one.size);
  };
  std::span<const uint8_t> coded;
  joined.clear();
  for (int count = 0; segment != nullptr; ++count) {
    if ((segment->status & kFaults) != 0) {
      return {QVS_PLUGIN_CREATE_CODED_BUFFER, "the driver marks the coded picture as spoilt"};
    }
    const std::span<const uint8_t> piece = bytesOf(*segment);
    segment = static_cast<const VACodedBufferSegment*>(segment->next);
    if (count == 0 && segment == nullptr) {
      coded = piece;
      break;
    }
    joined.insert(joined.end(), piece.begin(), piece.end());
    coded = joined;
  }
  if (coded.empty()) return {QVS_PLUGIN_CREATE_CODED_BUFFER, "the coded picture is empty"};
  if (!hand(info, coded)) return {QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for a coded picture"};
  return {};
}

bool VaapiSession::hand(const FrameInfo& info, std::span<const uint8_t> coded) {
  if (!codec->isAnnexB()) return output.add(info, std::span(&coded, 1));
  if (info.frameType != QVS_FRAME_KEY || codec->hasHeaders(coded)) return output.addAnnexB(info, coded);
  const std::span<const uint8_t> headers = codec->headers();
  if (joined.empty()) joined.assign(coded.begin(), coded.end());
  joined.insert(joined.begin(), headers.begin(), headers.end());
  return output.addAnnexB(info, joined);
}

}  // namespace qvs::vaapi

namespace qvs::plugins {

const EncoderPlugin kEncoderPlugin{
    vaapi::VaapiSession::version, vaapi::VaapiSession::describe,
    []() -> std::unique_ptr<EncoderSession> { return std::make_unique<vaapi::VaapiSession>(); }};

}  // namespace qvs::plugins
