// Prints the conformance table: each stream, its pictures, and whether they equal the published sum.

#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <map>
#include <sstream>

#include "support/DecodedPicture.h"
#include "support/Md5.h"
#include "support/SessionDriver.h"
#include "video/decoders/DecoderHarness.h"
#include "video/decoders/VideoDecoderVPX.h"

namespace qvs::test {
namespace {

constexpr double kExact = 99.0;

/// File name -> sum, out of the collection's own list.
std::map<std::string, std::string> publishedSums(const std::filesystem::path& root) {
  std::map<std::string, std::string> sums;
  std::ifstream list(root / "README.md");
  for (std::string line; std::getline(list, line);) {
    std::vector<std::string> cells;
    std::stringstream row(line);
    for (std::string cell; std::getline(row, cell, '|');) {
      cell.erase(0, cell.find_first_not_of(' '));
      cell.erase(cell.find_last_not_of(' ') + 1);
      cells.push_back(cell);
    }
    if (cells.size() > 7 && cells[7].size() == 32) sums[cells[1]] = cells[7];
  }
  return sums;
}

/// What libavcodec itself makes of a stream, as 8-bit 4:2:0 by plain arithmetic.
class ReferencePictures {
 public:
  explicit ReferencePictures(const std::filesystem::path& path) : stream(path) {
    const AVCodec* found = avcodec_find_decoder(stream.parameters().codec_id);
    codec = avcodec_alloc_context3(found);
    avcodec_parameters_to_context(codec, &stream.parameters());
    codec->flags |= AV_CODEC_FLAG_UNALIGNED | AV_CODEC_FLAG_BITEXACT;
    codec->thread_count = 1;
    avcodec_open2(codec, found, nullptr);
  }
  ~ReferencePictures() {
    avcodec_free_context(&codec);
    av_frame_free(&frame);
  }
  ReferencePictures(const ReferencePictures&) = delete;
  ReferencePictures& operator=(const ReferencePictures&) = delete;

  /// Empty at the end.
  MediaBytes next() {
    MediaUnit unit;
    while (avcodec_receive_frame(codec, frame) < 0) {
      if (ended) return {};
      ended = !stream.next(unit);
      avcodec_send_packet(codec, ended ? nullptr : &stream.rawPacket());
    }
    return planes();
  }

 private:
  uint32_t sampleAt(int plane, int x, int y, int depth) const {
    const uint8_t* row = frame->data[plane] + static_cast<ptrdiff_t>(y) * frame->linesize[plane];
    return depth > 8 ? reinterpret_cast<const uint16_t*>(row)[x] : row[x];
  }

  MediaBytes planes() const {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    const int depth = format->comp[0].depth;
    MediaBytes bytes;
    for (int plane = 0; plane < 3; ++plane) {
      const bool chroma = plane != 0;
      const bool halve = chroma && format->log2_chroma_w == 0;
      const bool merge = chroma && format->log2_chroma_h == 0;
      const int columns = chroma ? frame->width / 2 : frame->width;
      const int rows = chroma ? frame->height / 2 : frame->height;
      const int lastColumn = (halve || !chroma ? frame->width : (frame->width + 1) / 2) - 1;
      for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
          double sum = 0;
          for (int line = 0; line < (merge ? 2 : 1); ++line) {
            const int fromY = merge ? 2 * y + line : y;
            const int fromX = halve ? 2 * x : x;
            const double centre = sampleAt(plane, fromX, fromY, depth);
            const double left = sampleAt(plane, std::max(fromX - 1, 0), fromY, depth);
            const double right = sampleAt(plane, std::min(fromX + 1, lastColumn), fromY, depth);
            sum += halve ? (left + 2 * centre + right) / 4 : centre;
          }
          const double value = std::floor(sum / (merge ? 2 : 1) / (1 << (depth - 8)) + 0.5);
          bytes.push_back(static_cast<uint8_t>(std::min(value, 255.0)));
        }
      }
    }
    return bytes;
  }

  MediaStream stream;
  AVCodecContext* codec = nullptr;
  AVFrame* frame = av_frame_alloc();
  bool ended = false;
};

double psnr(const MediaBytes& a, const MediaBytes& b) {
  if (a.size() != b.size() || a.empty()) return 0;
  double error = 0;
  for (size_t i = 0; i < a.size(); ++i) error += (a[i] - b[i]) * (a[i] - b[i]);
  return error == 0 ? kExact : 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.size()) / error);
}

bool isPlain420(const MediaStream& stream) {
  const int format = stream.parameters().format;
  return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P;
}

std::vector<std::filesystem::path> mediaFiles(const char* root) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.is_regular_file() && entry.path().extension() != ".md5" && entry.path().extension() != ".md")
      files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

struct Row {
  uint32_t pictures = 0;
  uint32_t missing = 0;  ///< pictures that only the reference decoder gives
  std::string sum;
  double worst = -1;  ///< PSNR against the reference decoder; -1 not compared
};

Row decodeFile(const std::filesystem::path& path, MediaStream& stream, bool compare) {
  Row row;
  RunningMd5 sum;
  std::unique_ptr<ReferencePictures> reference;
  if (compare) reference = std::make_unique<ReferencePictures>(path);
  auto decoder = makeDecoder(stream.getCodec(), true, stream.getCodecVersion());
  decoder->setParameterValue(0, int64_t{0});
  if (stream.getCodec() == 8) decoder->setParameterValue(VideoDecoderVPX::kKeyConvertFormats, int64_t{1});
  DecoderHarness harness(*decoder, [&](VideoFrameBuffer& frame) {
    const MediaBytes bytes = i420Bytes(frame);
    sum.add(bytes);
    if (!reference) return;
    const double now = psnr(bytes, reference->next());
    row.worst = row.worst < 0 ? now : std::min(row.worst, now);
  });
  harness.run(stream);
  row.pictures = harness.getCounts().pictures;
  row.sum = sum.text();
  while (reference && !reference->next().empty()) ++row.missing;
  return row;
}

TEST(Conformance, EveryStreamGivesItsPublishedSum) {
  const char* root = std::getenv("QVS_MEDIA");
  if (root == nullptr) GTEST_SKIP() << "QVS_MEDIA names no folder with media: real streams are not checked";
  av_log_set_level(AV_LOG_PANIC);
  const auto sums = publishedSums(root);
  uint32_t exact = 0, alike = 0, streams = 0;
  for (const auto& path : mediaFiles(root)) {
    const std::string folder = path.parent_path().filename();
    const bool damaged = folder == "broken" || path.filename().string().starts_with("broken_");
    MediaStream stream(path);
    if (stream.getCodec() == 0) continue;
    SCOPED_TRACE(path.filename());
    const bool plain = isPlain420(stream);
    // Their conversion has a test of its own; the reference here knows no color matrix.
    const bool rgb = stream.parameters().format == AV_PIX_FMT_GBRP;
    const auto published = sums.find(path.filename());
    Row row = decodeFile(path, stream, !plain && !damaged && !rgb);
    const bool equal = published != sums.end() && published->second == row.sum;
    if (plain && !damaged && !equal) {
      MediaStream again(path);
      row = decodeFile(path, again, true);
    }
    ++streams;
    exact += equal;
    alike += !equal && row.worst == kExact;
    // Some published sums are of turned or repeated pictures: there the reference decoder itself is the
    // measure.
    const bool likeReference = row.worst == kExact;
    const std::string verdict = equal           ? "exact"
                                : damaged       ? "damaged input"
                                : rgb           ? "RGB, not compared"
                                : likeReference ? "equal to the reference decoder"
                                                : "PSNR " + std::to_string(row.worst).substr(0, 5);
    std::printf("%-70s %-6s %5u  %s\n", path.filename().c_str(),
                avcodec_get_name(stream.parameters().codec_id), row.pictures, verdict.c_str());
    if (damaged || rgb) continue;
    const uint32_t codec = stream.getCodec();
    const double least = !plain ? 50.0 : codec == 7 || codec == 8 || codec == 12 ? kExact : 40.0;
    EXPECT_TRUE(equal || row.worst >= least);
    EXPECT_EQ(row.missing, 0u) << "pictures that only the reference decoder gives";
  }
  std::printf("%u streams, %u exact, %u more equal to the reference decoder\n", streams, exact, alike);
  EXPECT_GT(streams, 0u);
}

/// Whole sessions: sound streams or damaged ones, each picture comes out of the rung once.
TEST(Conformance, EveryStreamIsTranscodedWithoutHarm) {
  const char* root = std::getenv("QVS_MEDIA");
  if (root == nullptr) GTEST_SKIP() << "QVS_MEDIA names no folder with media: real streams are not checked";
  for (const auto& path : mediaFiles(root)) {
    MediaStream stream(path);
    if (stream.getCodec() == 0) continue;
    SCOPED_TRACE(path.filename());
    MediaBytes config = stream.getConfig();
    SessionDriver driver({.codec = stream.getCodec(),
                          .codecVersion = stream.getCodecVersion(),
                          .config = config,
                          .rungs = {{.width = 160, .height = 90, .fitMode = 1}}},
                         OnFailure::kGoOn);
    size_t pictures = 0;
    MediaUnit unit;
    for (int i = 0; i < 40 && stream.next(unit); ++i)
      pictures += driver.feed(unit.bytes, unit.timecode, unit.frameType).picture;
    EXPECT_EQ(driver.units(0).size(), pictures);
  }
}

}  // namespace
}  // namespace qvs::test
