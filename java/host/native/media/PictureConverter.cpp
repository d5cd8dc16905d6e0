// Pictures of any form brought to 8-bit 4:2:0.
#include "media/PictureConverter.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace qvs::host {

namespace {

constexpr int kExact = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;

const AVPixFmtDescriptor& formOf(const AVFrame& picture) {
  return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
}

bool isRgb(const AVPixFmtDescriptor& form) {
  return form.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL);
}

bool isPlain(const AVFrame& picture) {
  return (picture.format == AV_PIX_FMT_YUV420P || picture.format == AV_PIX_FMT_YUVJ420P) &&
         picture.linesize[1] == picture.linesize[2] &&
         std::all_of(picture.linesize, picture.linesize + 3, [](int stride) { return stride > 0; });
}

// Planar 4:2:0 of more bits: libswscale would cut them off where it does not dither.
bool isDeep420(const AVPixFmtDescriptor& form) {
  return (form.flags & AV_PIX_FMT_FLAG_PLANAR) &&
         !(form.flags & (AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_ALPHA)) && !isRgb(form) &&
         form.nb_components == 3 && form.log2_chroma_w == 1 && form.log2_chroma_h == 1 &&
         form.comp[0].depth > 8 && form.comp[1].plane == 1 && form.comp[2].plane == 2 &&
         form.comp[0].shift == 0;
}

void roundPlane(const AVFrame& from, AVFrame& to, int plane, int depth) {
  const int width = plane ? AV_CEIL_RSHIFT(to.width, 1) : to.width;
  const int height = plane ? AV_CEIL_RSHIFT(to.height, 1) : to.height;
  const int shift = depth - 8, half = 1 << (shift - 1);
  for (int y = 0; y < height; y++) {
    const auto* in =
        reinterpret_cast<const uint16_t*>(from.data[plane] + ptrdiff_t{y} * from.linesize[plane]);
    uint8_t* out = to.data[plane] + ptrdiff_t{y} * to.linesize[plane];
    for (int x = 0; x < width; x++) out[x] = static_cast<uint8_t>(std::min((in[x] + half) >> shift, 255));
  }
}

/// Samples of one component with the alpha that goes with each.
struct Blend {
  uint8_t* samples;
  const uint8_t* alpha;
  int stride, alphaStride, step, base;
};

void blend(const Blend& of, int width, int height) {
  for (int y = 0; y < height; y++) {
    uint8_t* sample = of.samples + ptrdiff_t{y} * of.stride;
    const uint8_t* alpha = of.alpha + ptrdiff_t{y} * of.alphaStride;
    for (int x = 0; x < width; x++, sample += of.step, alpha += of.step) {
      const int times = (*sample - of.base) * *alpha;
      *sample = static_cast<uint8_t>(of.base + (times + (times < 0 ? -127 : 127)) / 255);
    }
  }
}

const int* tableOf(AVColorSpace matrix) {
  return sws_getCoefficients(matrix == AVCOL_SPC_BT709        ? SWS_CS_ITU709
                             : matrix == AVCOL_SPC_SMPTE240M  ? SWS_CS_SMPTE240M
                             : matrix == AVCOL_SPC_BT2020_NCL ? SWS_CS_BT2020
                                                              : SWS_CS_ITU601);
}

}  // namespace

const AVFrame* PictureConverter::convert(const AVFrame& picture) {
  if (!av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format))) return nullptr;
  const bool full = isFull(picture);
  if (isPlain(picture) && full == colors_.fullRange) return &picture;
  if (isDeep420(formOf(picture)) && full == colors_.fullRange) {
    AVFrame* made = room(target_, picture, AV_PIX_FMT_YUV420P);
    for (int plane = 0; made && plane < 3; plane++)
      roundPlane(picture, *made, plane, formOf(picture).comp[0].depth);
    return made;
  }
  const AVFrame* whole = formOf(picture).flags & AV_PIX_FMT_FLAG_ALPHA ? flatten(picture) : &picture;
  const bool done = whole && run(target_, *whole, AV_PIX_FMT_YUV420P, full, colors_.fullRange);
  return done ? target_.made.get() : nullptr;
}

// Before chroma is halved: the colour of what nobody sees must not run into what lies beside it.
const AVFrame* PictureConverter::flatten(const AVFrame& picture) {
  const bool rgb = isRgb(formOf(picture)), full = isFull(picture);
  if (!run(opaque_, picture, rgb ? AV_PIX_FMT_RGBA : AV_PIX_FMT_YUVA444P, full, full)) return nullptr;
  AVFrame& made = *opaque_.made;
  for (int i = 0; i < 3; i++) {
    if (rgb)
      blend({made.data[0] + i, made.data[0] + 3, made.linesize[0], made.linesize[0], 4, 0}, made.width,
            made.height);
    else
      blend({made.data[i], made.data[3], made.linesize[i], made.linesize[3], 1,
             i      ? 128
             : full ? 0
                    : 16},
            made.width, made.height);
  }
  return &made;
}

bool PictureConverter::run(Step& step, const AVFrame& picture, AVPixelFormat to, bool fromFull, bool toFull) {
  // Rows of two fields are of two times: where chroma loses rows, each field is converted by itself.
  const bool fields = picture.interlaced_frame && picture.height % 4 == 0 && to == AV_PIX_FMT_YUV420P &&
                      formOf(picture).log2_chroma_h == 0;
  const int parts = fields ? 2 : 1;
  AVFrame* made = room(step, picture, to);
  if (!made || !prepare(step, {picture.width, picture.height / parts, picture.format, to, fromFull, toFull}))
    return false;
  for (int part = 0; part < parts; part++) {
    const uint8_t* in[4] = {};
    uint8_t* out[4] = {};
    int inStride[4] = {}, outStride[4] = {};
    for (int plane = 0; plane < 4; plane++) {
      const bool palette = plane == 1 && (formOf(picture).flags & AV_PIX_FMT_FLAG_PAL);
      in[plane] = picture.data[plane] && !palette
                      ? picture.data[plane] + ptrdiff_t{part} * picture.linesize[plane]
                      : picture.data[plane];
      out[plane] = made->data[plane] ? made->data[plane] + ptrdiff_t{part} * made->linesize[plane] : nullptr;
      inStride[plane] = picture.linesize[plane] * parts;
      outStride[plane] = made->linesize[plane] * parts;
    }
    if (sws_scale(step.scaler.get(), in, inStride, 0, picture.height / parts, out, outStride) <= 0)
      return false;
  }
  return true;
}

bool PictureConverter::prepare(Step& step, const Plan& plan) const {
  if (step.scaler && step.plan == plan) return true;
  step.plan.reset();
  step.scaler.reset(sws_alloc_context());
  SwsContext* scaler = step.scaler.get();
  if (!scaler) return false;
  const struct {
    const char* name;
    int64_t value;
  } kOptions[] = {{"srcw", plan.width}, {"srch", plan.height}, {"src_format", plan.from},
                  {"dstw", plan.width}, {"dsth", plan.height}, {"dst_format", plan.to},
                  {"sws_flags", kExact}};
  for (const auto& option : kOptions) av_opt_set_int(scaler, option.name, option.value, 0);
  av_opt_set(scaler, "sws_dither", "none", 0);
  const int* table = tableOf(colors_.matrix);
  if (sws_init_context(scaler, nullptr, nullptr) < 0) return false;
  sws_setColorspaceDetails(scaler, table, plan.fromFull, table, plan.toFull, 0, 1 << 16, 1 << 16);
  step.plan = plan;
  return true;
}

AVFrame* PictureConverter::room(Step& step, const AVFrame& like, AVPixelFormat format) const {
  if (!step.made) step.made.reset(av_frame_alloc());
  AVFrame* made = step.made.get();
  if (!made) return nullptr;
  if (made->format != format || made->width != like.width || made->height != like.height) {
    av_frame_unref(made);
    made->format = format;
    made->width = like.width;
    made->height = like.height;
    if (av_frame_get_buffer(made, 0) < 0) {
      av_frame_unref(made);
      return nullptr;
    }
  }
  made->interlaced_frame = like.interlaced_frame;
  made->top_field_first = like.top_field_first;
  return made;
}

bool PictureConverter::isFull(const AVFrame& picture) const {
  const AVPixFmtDescriptor& form = formOf(picture);
  if (isRgb(form)) return true;
  if (picture.color_range != AVCOL_RANGE_UNSPECIFIED) return picture.color_range == AVCOL_RANGE_JPEG;
  if (form.nb_components < 3) return true;
  return colors_.fullRange || std::strncmp(form.name, "yuvj", 4) == 0;
}

}  // namespace qvs::host
