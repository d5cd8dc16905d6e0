// A session of the x265 plug-ins: pictures in, access units out.
#include "X265Session.h"

#include <cstdio>
#include <mutex>

namespace qvs::plugins {
namespace {

/// Whether decoding can begin here.
bool isKeyUnit(uint32_t type) {
  return type >= NAL_UNIT_CODED_SLICE_BLA_W_LP && type <= NAL_UNIT_CODED_SLICE_CRA;
}

}  // namespace

int32_t X265Session::open() {
  encoder.reset();
  times.restart();
  opened = settings;
  coded.reset(x265().picture_alloc());
  input.reset(x265().picture_alloc());
  if (coded == nullptr || input == nullptr)
    return fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for an encoder");
  return begin();
}

int32_t X265Session::begin() {
  std::unique_ptr<x265_param, Free> wanted(x265().param_alloc());
  if (wanted == nullptr) return fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for an encoder");
  // What has only been allocated holds whatever memory held, and can't be freed so.
  x265().param_default(wanted.get());
  if (!opened.store(common, *wanted, problem)) return QVS_PLUGIN_INIT_ENCODER;
  pool = opened.pool();
  wanted->numaPools = pool.c_str();
  encoder.reset();
  parameters = std::move(wanted);
  {
    // The first encoder of a process fills tables of functions that all share, which libx265 itself doesn't guard.
    static std::mutex opening;
    const std::lock_guard guard(opening);
    encoder.reset(x265().encoder_open(parameters.get()));
  }
  if (encoder == nullptr) {
    const std::string level = std::to_string(opened.level);
    return fail(QVS_PLUGIN_CREATE_ENCODER,
                "x265_encoder_open failed; libx265 gives no reason" +
                    (opened.level != 0 ? ", is level " + level + " too low?" : std::string()));
  }
  x265().picture_init(parameters.get(), input.get());
  x265().picture_init(parameters.get(), coded.get());
  input->bitDepth = 8;
  rateChanged = false;
  return QVS_PLUGIN_OK;
}

int32_t X265Session::restart() {
  const int32_t status = drain();
  return status != QVS_PLUGIN_OK ? status : begin();
}

int32_t X265Session::encode(const Picture& picture) {
  if (encoder == nullptr)
    return fail(QVS_PLUGIN_CREATE_ENCODER, "the encoder was lost at a change of bit rate");
  if (rateChanged && (picture.key || !common.keyFrameFollow)) {
    const int32_t status = restart();
    if (status != QVS_PLUGIN_OK) return status;
  }
  const uint8_t* planes[] = {picture.y, picture.u, picture.v};
  for (int i = 0; i < 3; ++i) {
    input->planes[i] = const_cast<uint8_t*>(planes[i]);  // read only, whatever the type says
    input->stride[i] = static_cast<int>(i == 0 ? picture.stride : picture.chromaStride);
  }
  input->sliceType = picture.key ? X265_TYPE_IDR : X265_TYPE_AUTO;
  input->pts = times.add(picture.timecode);
  bool given = false;
  return put(input.get(), given);
}

int32_t X265Session::drain() {
  bool given = encoder != nullptr;
  while (given) {
    const int32_t status = put(nullptr, given);
    if (status != QVS_PLUGIN_OK) return status;
  }
  return QVS_PLUGIN_OK;
}

int32_t X265Session::put(x265_picture* picture, bool& given) {
  x265_nal* nals = nullptr;
  uint32_t count = 0;
  const int coming = x265().encoder_encode(encoder.get(), &nals, &count, picture, coded.get());
  given = coming > 0 && count > 0;
  if (coming < 0) return fail(QVS_PLUGIN_INIT_ENCODER, "x265_encoder_encode failed");
  if (!given) return QVS_PLUGIN_OK;
  FrameInfo info;
  if (IS_X265_TYPE_B(coded->sliceType)) info.frameType = QVS_FRAME_BIDIRECTIONAL;
  units.clear();
  for (uint32_t i = 0; i < count; ++i) {
    if (isKeyUnit(nals[i].type)) info.frameType = QVS_FRAME_KEY;
    units.emplace_back(nals[i].payload, nals[i].sizeBytes);
  }
  times.fill(info, coded->pts, coded->dts);
  return output.add(info, units) ? QVS_PLUGIN_OK
                                 : fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for a coded frame");
}

// libx265 3.5 takes a new rate and goes on with the old one: a new encoder begins instead, with a key frame. Where those
// follow requests it waits for the next of them, so that none comes unasked.
int32_t X265Session::changeBitRate(uint32_t bitsPerSecond) {
  H26xRates rates;
  if (!rates.change(opened, common.bitRate, bitsPerSecond, problem)) return QVS_PLUGIN_NO_VBR;
  rateChanged = rateChanged || bitsPerSecond != common.bitRate;
  return QVS_PLUGIN_OK;
}

int32_t x265Version(std::string& text, uint32_t& major, uint32_t& minor) {
  const char* const number = x265().version_str;
  text = std::string("libx265 ") + number;
  if (std::sscanf(number, "%u.%u", &major, &minor) != 2) major = minor = 0;
  return QVS_PLUGIN_OK;
}

std::string describeX265(const char* name) {
  return KeyTable<X265Settings>::describe({name, "H.265", "libx265", 8192, 8192}, kX265Keys);
}

std::unique_ptr<EncoderSession> makeX265Session() {
  return std::make_unique<X265Session>();
}

}  // namespace qvs::plugins
