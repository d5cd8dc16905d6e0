// PSNR of a rendition against its source, both decoded and scaled apart from the transcoder.
#include "media/FrameComparison.h"

#include <algorithm>
#include <cmath>

namespace qvs::host {

namespace {

// Half a millisecond of rounding in a container must not pair a picture with its neighbour.
constexpr double kSameTimeMs = 1.5;
// Scaling and codec ringing carry an overlay's edge a little beyond its rectangle.
constexpr int kExcludedMarginPixels = 8;

// Samples are compared as they are: swscale would change the range between the two names of a form.
AVPixelFormat withoutRange(int format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    default:
      return static_cast<AVPixelFormat>(format);
  }
}

struct PlaneArea {
  int left = 0, top = 0, right = 0, bottom = 0;
  bool contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
};

PlaneArea scaledArea(const ExcludedArea& area, const AVFrame& source, const AVFrame& target, int shift) {
  if (area.width <= 0 || area.height <= 0) return {};
  const auto across = [&](int64_t v) {
    return static_cast<int>(v * target.width / std::max(1, source.width));
  };
  const auto down = [&](int64_t v) {
    return static_cast<int>(v * target.height / std::max(1, source.height));
  };
  return {(across(area.x) - kExcludedMarginPixels) >> shift, (down(area.y) - kExcludedMarginPixels) >> shift,
          (across(area.x + area.width) + kExcludedMarginPixels) >> shift,
          (down(area.y + area.height) + kExcludedMarginPixels) >> shift};
}

}  // namespace

MediaStatus FrameComparison::run(const std::string& sourcePath, const std::string& renditionPath,
                                 const ExcludedArea& excluded, ComparisonResult* result) {
  *result = {};
  MediaStatus status = source_.open(sourcePath);
  if (!status.ok()) return status;
  status = rendition_.open(renditionPath);
  if (!status.ok()) return status;
  for (;;) {
    bool atEnd = false, found = false;
    status = rendition_.next(&atEnd);
    if (!status.ok() || atEnd) break;
    status = advanceSourceTo(rendition_.timeMs(), &found);
    if (!status.ok()) break;
    if (!found) return MediaStatus::failure("a picture of the rendition has no counterpart in the source");
    status = scaleSource();
    if (!status.ok()) break;
    addDifference(excluded);
    result->frames++;
  }
  if (!status.ok()) return status;
  if (!samples_) return MediaStatus::failure("no picture to compare");
  const double mean = static_cast<double>(squaredError_) / static_cast<double>(samples_);
  result->psnrDb = mean > 0 ? std::min(100.0, 10.0 * std::log10(255.0 * 255.0 / mean)) : 100.0;
  return {};
}

// Files start at zero whatever their source's clock says: times count from either's first picture.
MediaStatus FrameComparison::advanceSourceTo(double renditionMs, bool* found) {
  if (!sourceReady_) {
    bool atEnd = false;
    MediaStatus status = source_.next(&atEnd);
    if (!status.ok() || atEnd) return status;
    sourceReady_ = true;
    shiftMs_ = source_.timeMs() - renditionMs;
  }
  const double timeMs = renditionMs + shiftMs_;
  while (source_.timeMs() < timeMs - kSameTimeMs) {
    bool atEnd = false;
    MediaStatus status = source_.next(&atEnd);
    if (!status.ok() || atEnd) return status;
  }
  *found = std::abs(source_.timeMs() - timeMs) <= kSameTimeMs;
  return {};
}

MediaStatus FrameComparison::scaleSource() {
  const AVFrame& from = source_.frame();
  const AVFrame& to = rendition_.frame();
  if (withoutRange(to.format) != AV_PIX_FMT_YUV420P)
    return MediaStatus::failure("the rendition is not 8-bit 4:2:0");
  scaler_.reset(sws_getCachedContext(scaler_.release(), from.width, from.height, withoutRange(from.format),
                                     to.width, to.height, AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND,
                                     nullptr, nullptr, nullptr));
  if (!scaler_) return MediaStatus::failure("cannot scale the source");
  if (!scaled_ || scaled_->width != to.width || scaled_->height != to.height) {
    scaled_.reset(av_frame_alloc());
    if (!scaled_) return MediaStatus::failure("out of memory");
    scaled_->format = AV_PIX_FMT_YUV420P;
    scaled_->width = to.width;
    scaled_->height = to.height;
    MediaStatus status = MediaStatus::fromCode(av_frame_get_buffer(scaled_.get(), 0), "picture");
    if (!status.ok()) return status;
  }
  const int rows =
      sws_scale(scaler_.get(), from.data, from.linesize, 0, from.height, scaled_->data, scaled_->linesize);
  return rows == to.height ? MediaStatus() : MediaStatus::failure("cannot scale the source");
}

void FrameComparison::addDifference(const ExcludedArea& excluded) {
  const AVFrame& frame = rendition_.frame();
  for (int plane = 0; plane < 3; plane++) {
    const int shift = plane ? 1 : 0;
    const int width = (frame.width + shift) >> shift;
    const int height = (frame.height + shift) >> shift;
    const PlaneArea skip = scaledArea(excluded, source_.frame(), frame, shift);
    for (int y = 0; y < height; y++) {
      const uint8_t* a = frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.linesize[plane];
      const uint8_t* b = scaled_->data[plane] + static_cast<ptrdiff_t>(y) * scaled_->linesize[plane];
      for (int x = 0; x < width; x++) {
        if (skip.contains(x, y)) continue;
        const int difference = a[x] - b[x];
        squaredError_ += static_cast<uint64_t>(difference * difference);
        samples_++;
      }
    }
  }
}

}  // namespace qvs::host
