// A session of the x264 plug-in: pictures in, access units out.
#include "X264Session.h"

#include <cstdio>
#include <cstring>

namespace qvs::plugins {

void X264Session::log(void* self, int level, const char* format, va_list arguments) {
  if (level > X264_LOG_ERROR) return;
  char* line = static_cast<X264Session*>(self)->lastLine;
  std::vsnprintf(line, sizeof lastLine, format, arguments);
  line[std::strcspn(line, "\n")] = 0;
}

int32_t X264Session::failed(int32_t status, const char* call) {
  return fail(status, std::string(call) + " failed" + (lastLine[0] != 0 ? ": " : "") + lastLine);
}

int32_t X264Session::open() {
  encoder.reset();
  times.restart();
  lastLine[0] = 0;
  opened = settings;
  if (!opened.store(common, parameters, problem)) return QVS_PLUGIN_INIT_ENCODER;
  parameters.pf_log = log;
  parameters.p_log_private = this;
  parameters.i_log_level = X264_LOG_ERROR;
  encoder.reset(x264_encoder_open(&parameters));
  if (encoder == nullptr) return failed(QVS_PLUGIN_CREATE_ENCODER, "x264_encoder_open");
  x264_picture_init(&input);
  input.img.i_csp = X264_CSP_I420;
  input.img.i_plane = 3;
  return QVS_PLUGIN_OK;
}

int32_t X264Session::encode(const Picture& picture) {
  const uint8_t* planes[] = {picture.y, picture.u, picture.v};
  for (int i = 0; i < 3; ++i) {
    input.img.plane[i] = const_cast<uint8_t*>(planes[i]);  // read only, whatever the type says
    input.img.i_stride[i] = static_cast<int>(i == 0 ? picture.stride : picture.chromaStride);
  }
  input.i_type = picture.key ? X264_TYPE_IDR : X264_TYPE_AUTO;
  input.i_pts = times.add(picture.timecode);
  return put(&input);
}

int32_t X264Session::drain() {
  while (x264_encoder_delayed_frames(encoder.get()) > 0) {
    const int32_t status = put(nullptr);
    if (status != QVS_PLUGIN_OK) return status;
  }
  return QVS_PLUGIN_OK;
}

int32_t X264Session::put(x264_picture_t* picture) {
  lastLine[0] = 0;
  x264_nal_t* units = nullptr;
  int count = 0;
  x264_picture_t coded;
  const int size = x264_encoder_encode(encoder.get(), &units, &count, picture, &coded);
  if (size < 0) return failed(QVS_PLUGIN_INIT_ENCODER, "x264_encoder_encode");
  if (size == 0) return QVS_PLUGIN_OK;
  FrameInfo info;
  if (coded.b_keyframe != 0) info.frameType = QVS_FRAME_KEY;
  if (coded.i_type == X264_TYPE_B || coded.i_type == X264_TYPE_BREF) info.frameType = QVS_FRAME_BIDIRECTIONAL;
  times.fill(info, coded.i_pts, coded.i_dts);
  // The units of a picture lie one behind the other.
  const std::span<const uint8_t> bytes(units[0].p_payload, static_cast<size_t>(size));
  return output.add(info, {&bytes, 1}) ? QVS_PLUGIN_OK
                                       : fail(QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for a coded frame");
}

int32_t X264Session::changeBitRate(uint32_t bitsPerSecond) {
  H26xRates before, rates;
  if (!before.set(opened, common.bitRate, problem) ||
      !rates.change(opened, common.bitRate, bitsPerSecond, problem)) {
    return QVS_PLUGIN_NO_VBR;
  }
  // libx264 ignores a new rate without a word where its buffer doesn't fill at the rate itself.
  if (opened.rateControl == X264Settings::kBitRate && !(before.constant() && rates.constant())) {
    return fail(QVS_PLUGIN_NO_VBR,
                "libx264 changes a bit rate only with a buffer and with vbvMaxRate not above it");
  }
  lastLine[0] = 0;
  X264Settings::storeRates(rates, parameters);
  if (x264_encoder_reconfig(encoder.get(), &parameters) == 0) return QVS_PLUGIN_OK;
  return failed(QVS_PLUGIN_INIT_ENCODER, "x264_encoder_reconfig");
}

}  // namespace qvs::plugins
