#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <filesystem>
#include <memory>

#include "road/Road.h"

namespace qvs::test {
namespace {

struct FormatClose {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct PacketFree {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

/// The packets of the first VP8 or VP9 stream of a file.
class MediaFile {
 public:
  explicit MediaFile(const std::filesystem::path& path) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) != 0) return;
    context.reset(opened);
    if (avformat_find_stream_info(context.get(), nullptr) < 0) return;
    for (unsigned i = 0; i < context->nb_streams; ++i) {
      const auto codec = context->streams[i]->codecpar->codec_id;
      if (codec != AV_CODEC_ID_VP8 && codec != AV_CODEC_ID_VP9) continue;
      stream = static_cast<int>(i);
      codecVersion = codec == AV_CODEC_ID_VP9 ? 9 : 8;
      break;
    }
  }

  bool isVPX() const { return stream >= 0; }
  uint32_t getCodecVersion() const { return codecVersion; }

  /// Valid until the next call; empty at the end.
  std::span<const uint8_t> next() {
    while (av_read_frame(context.get(), packet.get()) >= 0) {
      if (packet->stream_index == stream) {
        bytes.assign(packet->data, packet->data + packet->size);
        av_packet_unref(packet.get());
        return bytes;
      }
      av_packet_unref(packet.get());
    }
    return {};
  }

 private:
  std::unique_ptr<AVFormatContext, FormatClose> context;
  std::unique_ptr<AVPacket, PacketFree> packet{av_packet_alloc()};
  std::vector<uint8_t> bytes;
  int stream = -1;
  uint32_t codecVersion = 8;
};

std::vector<std::filesystem::path> mediaFiles() {
  std::vector<std::filesystem::path> files;
  const char* root = std::getenv("QVS_MEDIA");
  if (!root) return files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const auto extension = entry.path().extension();
    if (entry.is_regular_file() &&
        (extension == ".ivf" || extension == ".vp8" || extension == ".webm" || extension == ".mp4")) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// Pictures that came out like those of libvpx.
uint32_t compareWithCodec(MediaFile& file) {
  DirectDecoder direct(file.getCodecVersion());
  Road road(RoadSetup{.codecVersion = file.getCodecVersion(), .rungs = {}});
  if (!road.open()) {
    ADD_FAILURE() << "the session does not open";
    return 0;
  }
  road.keepPictures(true);
  uint32_t pictures = 0, packets = 0;
  for (auto packet = file.next(); !packet.empty(); packet = file.next()) {
    const auto expected = direct.decode(packet);
    const auto result = road.feed(packet, 40 * packets++);
    EXPECT_EQ(result.picture, expected.width != 0) << "packet " << packets;
    if (!result.picture) continue;
    ++pictures;
    EXPECT_EQ(result.decoded.width, expected.width) << "packet " << packets;
    EXPECT_EQ(result.decoded.height, expected.height) << "packet " << packets;
    if (!direct.isLastPlain420()) continue;
    for (int plane = 0; plane < 3; ++plane) {
      EXPECT_TRUE(result.decoded.planes[plane] == expected.planes[plane])
          << "packet " << packets << ", plane " << plane;
    }
    if (testing::Test::HasFailure()) break;
  }
  return pictures;
}

TEST(MediaDecode, EveryVP8AndVP9FileGivesTheCodecsPictures) {
  const auto files = mediaFiles();
  if (files.empty()) GTEST_SKIP() << "QVS_MEDIA names no folder with media: real streams are not checked";
  uint32_t checked = 0;
  for (const auto& path : files) {
    MediaFile file(path);
    if (!file.isVPX()) continue;
    SCOPED_TRACE(path.filename());
    EXPECT_GT(compareWithCodec(file), 0u);
    ++checked;
  }
  EXPECT_GT(checked, 0u);
  std::printf("%u files\n", checked);
}

}  // namespace
}  // namespace qvs::test
