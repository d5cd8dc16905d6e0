// The C interface of the H.264 encoder.
#include <mc_enc_avc.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "avc/AvcColor.h"
#include "avc/AvcEncoder.h"
#include "avc/AvcRepair.h"
#include "avc/AvcSettings.h"
#include "avc/AvcSpeed.h"

using qvs::mc::AvcEncoder;
using qvs::mc::AvcRepair;
using qvs::mc::AvcSettings;
using qvs::mc::AvcSpeed;

/// Lives in the host's memory.
struct h264venc_tt {
  h264venc_tt(const mc_callbacks_t& callbacks, const h264_v_settings& settings)
      : release(callbacks.free), encoder(callbacks, settings) {}

  void (*release)(void* block);
  AvcEncoder encoder;
};

namespace {

constexpr int32_t kDone = 0, kRefused = 1, kFailed = 2;

constexpr uint32_t code(char a, char b, char c, char d) {
  const char name[] = {a, b, c, d};
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(name[i]);
  return value;
}

struct Format {
  uint32_t four_cc;
  int csp;
  int planes;
};
constexpr Format kFormats[] = {
    {code('Y', 'V', '1', '2'), X264_CSP_YV12, 3}, {code('I', '4', '2', '0'), X264_CSP_I420, 3},
    {code('I', 'Y', 'U', 'V'), X264_CSP_I420, 3}, {code('N', 'V', '1', '2'), X264_CSP_NV12, 2},
    {code('N', 'V', '2', '1'), X264_CSP_NV21, 2},
};

const Format* formatOf(uint32_t four_cc) {
  for (const Format& format : kFormats) {
    if (format.four_cc == four_cc) return &format;
  }
  return nullptr;
}

struct FrameOptions {
  const mc_sample_info_struct_t* times = nullptr;
  bool forceIdr = false;
};

FrameOptions readOptions(const mc_enc_option_t* list) {
  FrameOptions options;
  for (; list != nullptr && list->option_id != EXT_OPT_END; ++list) {
    if (list->option_id == EXT_OPT_PARAM_FORCE_IDR) options.forceIdr = true;
    if (list->option_id == EXT_OPT_PARAM_TIMESTAMPS) {
      options.times = static_cast<const mc_sample_info_struct_t*>(list->option_data);
    }
  }
  return options;
}

}  // namespace

extern "C" {

int32_t set_colorimetry_from_color_description(mc_colorimetry_t* colorimetry, int32_t description) {
  return qvs::mc::colorimetryOf(description, *colorimetry) ? kDone : kRefused;
}

int32_t h264OutVideoDefaultSettings(h264_v_settings* settings, int32_t video_type, int32_t width,
                                    int32_t height, int32_t interlace_mode, const mc_callbacks_t*) {
  if (settings == nullptr) return kRefused;
  AvcSettings::fillDefaults(*settings, video_type, width, height, interlace_mode);
  return kDone;
}

int32_t h264OutVideoPerformance(h264_v_settings* settings, int32_t, int32_t level, int32_t,
                                const mc_callbacks_t*) {
  if (settings == nullptr) return kRefused;
  AvcSettings::applyLevel(*settings, level);
  return level >= 0 && level <= AvcSpeed::kLast ? kDone : kRefused;
}

int32_t h264OutVideoChkSettings(const mc_callbacks_t* callbacks, h264_v_settings* settings, uint32_t, void*) {
  return settings != nullptr ? AvcRepair(*settings, callbacks).run() : kRefused;
}

h264venc_tt* h264OutVideoNew(const mc_callbacks_t* callbacks, const h264_v_settings* settings, int32_t,
                             int32_t, int32_t, int32_t) {
  if (settings == nullptr) return nullptr;
  mc_callbacks_t own = callbacks != nullptr ? *callbacks : mc_callbacks_t{};
  if (own.malloc == nullptr || own.free == nullptr) {
    own.malloc = std::malloc;
    own.free = std::free;
  }
  // An unchecked record would lead libx264 outside its arrays.
  h264_v_settings served = *settings;
  if (AvcRepair(served, nullptr).run() != 0) return nullptr;
  void* memory = own.malloc(sizeof(h264venc_tt));
  if (memory == nullptr) return nullptr;
  auto* encoder = new (memory) h264venc_tt(own, served);
  if (encoder->encoder.isOpen()) return encoder;
  h264OutVideoFree(encoder);
  return nullptr;
}

int32_t h264OutVideoInit(h264venc_tt* encoder, bufstream_tt* stream, uint32_t, const mc_enc_option_t*) {
  return encoder != nullptr && encoder->encoder.attach(stream) ? kDone : kRefused;
}

int32_t h264OutVideoPutFrame(h264venc_tt* encoder, uint8_t* const plane[4], const int32_t stride[4],
                             uint32_t width, uint32_t height, uint32_t four_cc,
                             const mc_enc_option_t* options) {
  const Format* format = formatOf(four_cc);
  if (encoder == nullptr || format == nullptr) return kRefused;
  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.img.i_csp = format->csp;
  picture.img.i_plane = format->planes;
  for (int i = 0; i < format->planes; ++i) {
    picture.img.plane[i] = plane[i];
    picture.img.i_stride[i] = stride[i];
  }
  if (!encoder->encoder.fits(picture, width, height)) return kRefused;
  const FrameOptions given = readOptions(options);
  return static_cast<int32_t>(encoder->encoder.put(picture, given.times, given.forceIdr));
}

int32_t h264OutVideoUpdateSettings(h264venc_tt* encoder, const h264_v_settings* settings) {
  if (encoder == nullptr || settings == nullptr) return kRefused;
  return encoder->encoder.update(*settings) ? kDone : kFailed;
}

int32_t h264OutVideoDone(h264venc_tt* encoder, int32_t abort) {
  if (encoder == nullptr) return kRefused;
  return abort != 0 || encoder->encoder.flush() ? kDone : kFailed;
}

void h264OutVideoFree(h264venc_tt* encoder) {
  if (encoder == nullptr) return;
  void (*release)(void*) = encoder->release;
  std::destroy_at(encoder);
  release(encoder);
}
}
