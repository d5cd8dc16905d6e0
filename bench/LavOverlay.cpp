#include "LavOverlay.h"

#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

namespace qvs::bench {
namespace {

void check(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "picture-bench: libavfilter: %s failed\n", what);
  std::exit(1);
}

AVFrame* makeFrame(int width, int height, int format) {
  AVFrame* frame = av_frame_alloc();
  check(frame != nullptr, "frame");
  frame->width = width;
  frame->height = height;
  frame->format = format;
  check(av_frame_get_buffer(frame, 64) == 0, "frame memory");
  return frame;
}

}  // namespace

LavOverlay::LavOverlay(int width, int height, int overlayWidth, int overlayHeight, int x, int y)
    : graph(avfilter_graph_alloc()) {
  check(graph != nullptr, "graph");
  graph->nb_threads = 1;
  mainSource = addSource("main", width, height, AV_PIX_FMT_YUV420P);
  overlaySource = addSource("over", overlayWidth, overlayHeight, AV_PIX_FMT_YUVA420P);
  AVFilterContext* blend = nullptr;
  const std::string place = "x=" + std::to_string(x) + ":y=" + std::to_string(y) + ":eval=init:format=yuv420";
  check(avfilter_graph_create_filter(&blend, avfilter_get_by_name("overlay"), "blend", place.c_str(), nullptr,
                                     graph) >= 0,
        "overlay");
  check(avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                     graph) >= 0,
        "sink");
  check(avfilter_link(mainSource, 0, blend, 0) == 0 && avfilter_link(overlaySource, 0, blend, 1) == 0 &&
            avfilter_link(blend, 0, sink, 0) == 0,
        "link");
  check(avfilter_graph_config(graph, nullptr) >= 0, "configuration");
  under = makeFrame(width, height, AV_PIX_FMT_YUV420P);
  over = makeFrame(overlayWidth, overlayHeight, AV_PIX_FMT_YUVA420P);
}

LavOverlay::~LavOverlay() {
  av_frame_free(&under);
  av_frame_free(&over);
  avfilter_graph_free(&graph);
}

AVFilterContext* LavOverlay::addSource(const char* name, int width, int height, int format) {
  const std::string arguments = "video_size=" + std::to_string(width) + "x" + std::to_string(height) +
                                ":pix_fmt=" + std::to_string(format) + ":time_base=1/25:pixel_aspect=1/1";
  AVFilterContext* source = nullptr;
  check(avfilter_graph_create_filter(&source, avfilter_get_by_name("buffer"), name, arguments.c_str(),
                                     nullptr, graph) >= 0,
        "source");
  return source;
}

void LavOverlay::process() {
  if (count == 0) {
    over->pts = 0;
    check(av_buffersrc_add_frame_flags(overlaySource, over, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0,
          "overlay frame");
    check(av_buffersrc_add_frame(overlaySource, nullptr) >= 0, "overlay end");
  }
  // The frame's only reference goes in and comes back, so that the filter writes into it without a copy.
  under->pts = count++;
  const uint8_t* before = under->data[0];
  check(av_buffersrc_add_frame(mainSource, under) >= 0, "frame in");
  check(av_buffersink_get_frame(sink, under) >= 0, "frame out");
  // The first one is copied: the end of the overlay isn't known to the filter yet.
  check(count == 1 || under->data[0] == before, "blending in place");
}

}  // namespace qvs::bench
