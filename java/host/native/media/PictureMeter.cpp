// PSNR and SSIM of coded pictures against what they were made of, with libavcodec as the judge.
#include "media/PictureMeter.h"

#include <climits>
#include <cstring>
#include <vector>

namespace qvs::host {

namespace {

constexpr int kBlock = 4, kWindowSamples = 64;
constexpr size_t kLengthBytes = 4;

struct Plane {
  const uint8_t* data;
  ptrdiff_t stride;
};

/// Sums over a block of both planes.
struct BlockSums {
  int a = 0, b = 0, squares = 0, products = 0;
  void add(const BlockSums& other) {
    a += other.a;
    b += other.b;
    squares += other.squares;
    products += other.products;
  }
};

uint64_t squaredError(Plane a, Plane b, int width, int height) {
  uint64_t sum = 0;
  for (int y = 0; y < height; y++) {
    uint32_t row = 0;
    for (int x = 0; x < width; x++) {
      const int difference = a.data[x] - b.data[x];
      row += static_cast<uint32_t>(difference * difference);
    }
    sum += row;
    a.data += a.stride;
    b.data += b.stride;
  }
  return sum;
}

void sumBlocks(Plane a, Plane b, std::span<BlockSums> blocks) {
  for (BlockSums& block : blocks) {
    BlockSums sums;
    for (int y = 0; y < kBlock; y++)
      for (int x = 0; x < kBlock; x++) {
        const int p = a.data[y * a.stride + x], q = b.data[y * b.stride + x];
        sums.a += p;
        sums.b += q;
        sums.squares += p * p + q * q;
        sums.products += p * q;
      }
    block = sums;
    a.data += kBlock;
    b.data += kBlock;
  }
}

// Structural similarity of a window, with sums in place of means so that all but the quotient is whole numbers.
double similarityOf(const BlockSums& window) {
  constexpr double kLuminance = 0.01 * 0.01 * 255 * 255 * kWindowSamples * kWindowSamples;
  constexpr double kContrast = 0.03 * 0.03 * 255 * 255 * kWindowSamples * (kWindowSamples - 1);
  const double a = window.a, b = window.b;
  const double variances = double{kWindowSamples} * window.squares - a * a - b * b;
  const double covariance = double{kWindowSamples} * window.products - a * b;
  return (2 * a * b + kLuminance) * (2 * covariance + kContrast) /
         ((a * a + b * b + kLuminance) * (variances + kContrast));
}

double similarity(Plane a, Plane b, int width, int height) {
  const int columns = width / kBlock, rows = height / kBlock;
  if (columns < 2 || rows < 2) return 1;
  std::vector<BlockSums> above(static_cast<size_t>(columns)), below(above.size());
  double sum = 0;
  for (int row = 0; row < rows; row++) {
    std::swap(above, below);
    const ptrdiff_t y = ptrdiff_t{row} * kBlock;
    sumBlocks({a.data + y * a.stride, a.stride}, {b.data + y * b.stride, b.stride}, below);
    for (size_t column = 1; row > 0 && column < below.size(); column++) {
      BlockSums window = above[column - 1];
      window.add(above[column]);
      window.add(below[column - 1]);
      window.add(below[column]);
      sum += similarityOf(window);
    }
  }
  return sum / ((columns - 1.0) * (rows - 1.0));
}

bool isPlanar420(int format) {
  return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P;
}

}  // namespace

MediaStatus PictureMeter::open(const std::string& codecName, bool units) {
  units_ = units;
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get_by_name(codecName.c_str());
  const AVCodec* codec = descriptor ? avcodec_find_decoder(descriptor->id) : nullptr;
  if (!codec) return MediaStatus::failure("no decoder for " + codecName);
  decoder_.reset(avcodec_alloc_context3(codec));
  packet_.reset(av_packet_alloc());
  frame_.reset(av_frame_alloc());
  if (!decoder_ || !packet_ || !frame_) return MediaStatus::failure("out of memory");
  decoder_->pkt_timebase = {1, 1000};
  decoder_->thread_count = 1;
  return MediaStatus::fromCode(avcodec_open2(decoder_.get(), codec, nullptr), "cannot open the decoder");
}

MediaStatus PictureMeter::send(std::span<const uint8_t> packet, int64_t time) {
  if (packet.empty()) return MediaStatus::fromCode(avcodec_send_packet(decoder_.get(), nullptr), "end");
  av_packet_unref(packet_.get());
  if (packet.size() > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) return MediaStatus::failure("packet too large");
  MediaStatus status =
      MediaStatus::fromCode(av_new_packet(packet_.get(), static_cast<int>(packet.size())), "packet");
  if (!status.ok()) return status;
  std::memcpy(packet_->data, packet.data(), packet.size());
  // Start codes are as long as the lengths.
  for (size_t at = 0; units_ && at + kLengthBytes <= packet.size();) {
    const uint8_t* length = packet.data() + at;
    constexpr uint8_t kCode[kLengthBytes] = {0, 0, 0, 1};
    std::memcpy(packet_->data + at, kCode, kLengthBytes);
    at += kLengthBytes +
          (size_t{length[0]} << 24 | size_t{length[1]} << 16 | size_t{length[2]} << 8 | length[3]);
  }
  packet_->pts = time;
  return MediaStatus::fromCode(avcodec_send_packet(decoder_.get(), packet_.get()),
                               "a coded picture is damaged");
}

bool PictureMeter::receive() {
  return avcodec_receive_frame(decoder_.get(), frame_.get()) >= 0;
}

bool PictureMeter::measure(std::span<const uint8_t> planes, int width, int height,
                           PictureDistance* result) const {
  const AVFrame& coded = *frame_;
  if (width <= 0 || height <= 0 || !isPlanar420(coded.format) || coded.width != width ||
      coded.height != height)
    return false;
  const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
  const size_t chroma = static_cast<size_t>(width / 2) * static_cast<size_t>(height / 2);
  if (planes.size() < luma + 2 * chroma) return false;
  const uint8_t* wanted = planes.data();
  double errors = 0, similarities = 0;
  for (int i = 0; i < 3; i++) {
    const int columns = i ? width / 2 : width, rows = i ? height / 2 : height;
    const Plane a{coded.data[i], coded.linesize[i]}, b{wanted, columns};
    const double samples = static_cast<double>(i ? chroma : luma);
    errors += static_cast<double>(squaredError(a, b, columns, rows));
    similarities += samples * similarity(a, b, columns, rows);
    wanted += i ? chroma : luma;
  }
  const double all = static_cast<double>(luma + 2 * chroma);
  *result = {errors / all, similarities / all};
  return true;
}

}  // namespace qvs::host
