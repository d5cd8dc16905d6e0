// Deinterlacing by libavfilter without delay.
#include "video/Deinterlacer.h"

#include <cstdio>
#include <utility>

namespace qvs::mc {

namespace {

constexpr int kSmallestSide = 3;  ///< of pictures that the filters take
constexpr const char* kAlone = "estdif";
constexpr const char* kByPredecessor = "bwdif";

}  // namespace

bool Deinterlacer::prepare(const AVFrame& picture, Rate wanted) {
  if (picture.width == width && picture.height == height && picture.format == format && wanted == rate)
    return graph != nullptr;
  width = picture.width;
  height = picture.height;
  format = picture.format;
  rate = wanted;
  graph.reset();
  if (width < kSmallestSide || height < kSmallestSide || AvLibrary::filters() == nullptr) return false;
  for (AvFramePtr* frame : {&fields[0], &fields[1], &input}) {
    if (!*frame) frame->reset(AvLibrary::filters()->av_frame_alloc());
    if (!*frame) return false;
  }
  fresh = build(kAlone);
  return fresh;
}

bool Deinterlacer::build(const char* deinterlacer) {
  const AvLibrary& av = *AvLibrary::filters();
  graph.reset(av.avfilter_graph_alloc());
  if (!graph) return false;
  graph->nb_threads = 1;
  char arguments[128];
  std::snprintf(arguments, sizeof arguments, "video_size=%dx%d:pix_fmt=%d:time_base=1/2", width, height,
                format);
  // Mode 0 gives a picture a frame, 1 a picture a field; both filters leave progressive ones alone.
  const char* mode = rate == Rate::kDouble ? "mode=1:deint=1" : "mode=0:deint=1";
  const auto add = [&](AVFilterContext** made, const char* filter, const char* options) {
    return av.avfilter_graph_create_filter(made, av.avfilter_get_by_name(filter), filter, options, nullptr,
                                           graph.get()) >= 0;
  };
  AVFilterContext* middle = nullptr;
  const bool built = add(&source, "buffer", arguments) && add(&middle, deinterlacer, mode) &&
                     add(&sink, "buffersink", nullptr) && av.avfilter_link(source, 0, middle, 0) >= 0 &&
                     av.avfilter_link(middle, 0, sink, 0) >= 0 &&
                     av.avfilter_graph_config(graph.get(), nullptr) >= 0;
  if (!built) graph.reset();
  return built;
}

bool Deinterlacer::feed(const AVFrame& picture, bool interlaced) {
  const AvLibrary& av = *AvLibrary::filters();
  AvFramePtr reference(av.av_frame_clone(&picture));
  if (!reference) return false;
  reference->interlaced_frame = interlaced ? 1 : 0;
  reference->repeat_pict = 0;  // the filter would let pass what has a repeated field beside it
  reference->pts = time++;
  return av.av_buffersrc_add_frame_flags(source, reference.get(), 0) >= 0;
}

bool Deinterlacer::take(AVFrame& frame) {
  const AvLibrary& av = *AvLibrary::filters();
  av.av_frame_unref(&frame);
  return av.av_buffersink_get_frame(sink, &frame) >= 0;
}

bool Deinterlacer::put(const AVFrame& picture, Rate wanted) {
  if (!prepare(picture, wanted)) return false;
  if (std::exchange(fresh, false)) {
    // Measured against itself a picture never moves, and its fields would stay woven.
    return filter(picture) && build(kByPredecessor) && feed(picture, true);
  }
  return filter(picture);
}

bool Deinterlacer::filter(const AVFrame& picture) {
  if (!feed(picture, true)) return false;
  // What comes now is the stand-in for a successor that the last picture was given.
  while (take(*input)) {
  }
  // The filter gives a picture when it has the next one: the same once more, marked as progressive, which
  // costs no filtering.
  if (!feed(picture, false)) return false;
  const bool first = take(*fields[0]);
  const bool second = take(*fields[1]);
  return first && (second || rate == Rate::kSingle);
}

const AVFrame* Deinterlacer::get(bool second) const {
  const AVFrame* frame = fields[second ? 1 : 0].get();
  return frame != nullptr && frame->data[0] != nullptr ? frame : nullptr;
}

}  // namespace qvs::mc
