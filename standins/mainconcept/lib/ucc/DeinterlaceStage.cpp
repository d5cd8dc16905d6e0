// Interlaced pictures of the converter, by libavfilter.
#include "ucc/DeinterlaceStage.h"

namespace qvs::ucc {
namespace {

struct FormRow {
  WorkingForm form;
  AVPixelFormat format;
  uint8_t planeOf[3];  ///< of the components
};
constexpr FormRow kForms[] = {
    {{Family::kYuv, 8, 1, 1}, AV_PIX_FMT_YUV420P, {0, 1, 2}},
    {{Family::kYuv, 8, 1, 0}, AV_PIX_FMT_YUV422P, {0, 1, 2}},
    {{Family::kYuv, 8, 0, 0}, AV_PIX_FMT_YUV444P, {0, 1, 2}},
    {{Family::kYuv, 10, 1, 1}, AV_PIX_FMT_YUV420P10, {0, 1, 2}},
    {{Family::kYuv, 10, 1, 0}, AV_PIX_FMT_YUV422P10, {0, 1, 2}},
    {{Family::kRgb, 8, 0, 0}, AV_PIX_FMT_GBRP, {2, 0, 1}},
    {{Family::kRgb, 10, 0, 0}, AV_PIX_FMT_GBRP10, {2, 0, 1}},
};

const FormRow* findForm(const WorkingForm& form) {
  for (const FormRow& row : kForms) {
    if (row.form == form) return &row;
  }
  return nullptr;
}

/// Calls `work(codec, address of the packed row, planes' rows, samples)` for each row of each plane of `packed`.
template <typename Work>
void eachRow(const PixelFormat& format, const FormRow& form, const ucc_frame_t& packed, const AVFrame& planes,
             Work work) {
  for (int p = 0; p < format.planes; ++p) {
    const PlaneCodec& codec = format.plane[p];
    for (uint32_t y = 0, end = format.rowsOf(p, packed.height); y < end; ++y) {
      Rows rows{};
      for (int i = 0; i < 3; ++i) {
        const uint32_t row = codec.chroma ? y : y >> form.form.shiftYOf(i);
        rows.component[i] =
            planes.data[form.planeOf[i]] + static_cast<ptrdiff_t>(row) * planes.linesize[form.planeOf[i]];
      }
      work(codec, packed.plane[p] + static_cast<ptrdiff_t>(y) * packed.stride[p], rows,
           format.samplesInRow(p, packed.width));
    }
  }
}

}  // namespace

bool DeinterlaceStage::prepare(const PixelFormat& format, const ucc_frame_t& source) {
  size_t offset[4] = {}, bytes = 0;
  int32_t stride[4] = {};
  for (int p = 0; p < format.planes; ++p) {
    offset[p] = bytes;
    stride[p] = static_cast<int32_t>((format.rowBytes(p, source.width) + 63) & ~63u);
    bytes += static_cast<size_t>(stride[p]) * format.rowsOf(p, source.height);
  }
  if (bytes > blockBytes) {
    block = allocateAligned(bytes);
    blockBytes = block ? bytes : 0;
  }
  if (!block) return false;
  whole = source;
  whole.progressive_frame_flag = 1;
  for (int p = 0; p < format.planes; ++p) {
    whole.plane[p] = block.get() + offset[p];
    whole.stride[p] = stride[p];
  }
  return true;
}

const ucc_frame_t* DeinterlaceStage::run(const PixelFormat& format, const ucc_frame_t& source) {
  const FormRow* form = findForm(format.form);
  const mc::AvLibrary* av = mc::AvLibrary::filters();
  const bool odd = ((source.width | source.height) & 1) != 0;
  if (form == nullptr || av == nullptr || odd || !prepare(format, source)) return nullptr;
  if (!fields) fields.reset(av->av_frame_alloc());
  if (!fields) return nullptr;
  // The filter keeps the picture for the next one, so each gets memory of its own.
  av->av_frame_unref(fields.get());
  fields->format = form->format;
  fields->width = static_cast<int>(source.width);
  fields->height = static_cast<int>(source.height);
  fields->top_field_first = source.bottom_field_first_flag == 0 ? 1 : 0;
  if (av->av_frame_get_buffer(fields.get(), 0) < 0) return nullptr;
  eachRow(format, *form, source, *fields,
          [](const PlaneCodec& codec, const uint8_t* row, const Rows& rows, uint32_t samples) {
            codec.unpack(row, rows, samples);
          });
  if (!deinterlacer.put(*fields, mc::Deinterlacer::Rate::kSingle)) return nullptr;
  const AVFrame* const first = deinterlacer.get(false);
  if (first == nullptr) return nullptr;
  eachRow(format, *form, whole, *first,
          [](const PlaneCodec& codec, uint8_t* row, const Rows& rows, uint32_t samples) {
            codec.pack(row, rows, samples);
          });
  return &whole;
}

}  // namespace qvs::ucc
