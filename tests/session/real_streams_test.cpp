#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "support/Md5.h"
#include "support/SessionLadder.h"

namespace qvs {
namespace {

namespace fs = std::filesystem;

using test::CodedStream;
using test::SessionLadder;

/// One row of the media's own list: a stream and the md5 of all its pictures.
struct Vector {
  std::string path;
  std::string md5;
};

std::string mediaFolder() {
  const char* folder = std::getenv("QVS_MEDIA");
  return folder != nullptr ? folder : "";
}

/// The VP8 and VP9 rows of the list in the media's README.
std::vector<Vector> publishedVectors() {
  std::vector<Vector> vectors;
  std::ifstream readme(mediaFolder() + "/README.md");
  const std::regex heading("## (\\S+)");
  const std::regex row("\\| (\\S+) \\| vp[89][^|]*\\| ivf \\| \\d+x\\d+ yuv420p .*\\b([0-9a-f]{32})\\b.*");
  std::string folder;
  for (std::string line; std::getline(readme, line);) {
    std::smatch match;
    if (std::regex_match(line, match, heading)) folder = match[1];
    if (!std::regex_match(line, match, row)) continue;
    vectors.push_back({mediaFolder() + "/" + folder + "/" + match[1].str(), match[2]});
  }
  return vectors;
}

std::vector<std::string> allIvfFiles() {
  std::vector<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(mediaFolder())) {
    const std::string extension = entry.path().extension();
    if (extension == ".ivf" || extension == ".vp8" || extension == ".vp9") files.push_back(entry.path());
  }
  return files;
}

/// Appends a libvpx picture; odd chroma sizes rounded up, as published sums have them, or down, as frames do.
void append(const vpx_image_t& image, bool roundUp, std::vector<uint8_t>& bytes) {
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t divisor = plane == 0 ? 1 : 2;
    const uint32_t extra = plane != 0 && roundUp ? 1 : 0;
    for (uint32_t row = 0; row < (image.d_h + extra) / divisor; ++row) {
      const uint8_t* from = image.planes[plane] + static_cast<ptrdiff_t>(row) * image.stride[plane];
      bytes.insert(bytes.end(), from, from + (image.d_w + extra) / divisor);
    }
  }
}

/// What libvpx alone makes of a stream.
std::string referenceSum(const CodedStream& stream, bool roundUp) {
  vpx_codec_ctx_t context{};
  vpx_codec_dec_init(&context, stream.codecVersion == 9 ? vpx_codec_vp9_dx() : vpx_codec_vp8_dx(), nullptr,
                     0);
  std::vector<uint8_t> bytes;
  for (const auto& packet : stream.packets) {
    vpx_codec_decode(&context, packet.bytes.data(), static_cast<unsigned>(packet.bytes.size()), nullptr, 0);
    vpx_codec_iter_t iterator = nullptr;
    if (const vpx_image_t* image = vpx_codec_get_frame(&context, &iterator)) append(*image, roundUp, bytes);
  }
  vpx_codec_destroy(&context);
  return test::md5(bytes);
}

std::string sessionSum(const CodedStream& stream) {
  SessionLadder ladder({.codecVersion = stream.codecVersion});
  std::vector<uint8_t> bytes;
  for (const auto& packet : stream.packets) {
    if (!ladder.decode(packet, packet.timecode)) continue;
    const std::vector<uint8_t> picture = test::i420Bytes(*ladder.decodedFrame());
    bytes.insert(bytes.end(), picture.begin(), picture.end());
  }
  return test::md5(bytes);
}

class RealStreams : public testing::Test {
 protected:
  void SetUp() override {
    if (mediaFolder().empty()) GTEST_SKIP() << "QVS_MEDIA is not set: no real streams to decode";
  }
};

TEST_F(RealStreams, DecodeToThePublishedSums) {
  const std::vector<Vector> vectors = publishedVectors();
  ASSERT_GT(vectors.size(), 20u);
  size_t rounded = 0;
  for (const Vector& vector : vectors) {
    const CodedStream stream = test::readIvf(vector.path);
    ASSERT_FALSE(stream.packets.empty()) << vector.path;
    const std::string sum = sessionSum(stream);
    if (sum == vector.md5) continue;
    // Odd sizes: the same pictures but for the chroma that frames round away.
    EXPECT_EQ(referenceSum(stream, true), vector.md5) << vector.path;
    EXPECT_EQ(sum, referenceSum(stream, false)) << vector.path;
    ++rounded;
  }
  EXPECT_LT(rounded * 3, vectors.size());
}

TEST_F(RealStreams, TranscodeWithoutHarmWhateverTheyHold) {
  const std::vector<std::string> files = allIvfFiles();
  ASSERT_FALSE(files.empty());
  for (const std::string& file : files) {
    const CodedStream stream = test::readIvf(file);
    SessionLadder ladder(
        {.codecVersion = stream.codecVersion, .renditions = {{.width = 160, .height = 90, .fitMode = 1}}});
    size_t pictures = 0;
    for (size_t i = 0; i < std::min<size_t>(stream.packets.size(), 40); ++i) {
      pictures += ladder.transcode(stream.packets[i]) ? 1 : 0;
    }
    EXPECT_EQ(ladder.units(0).size(), pictures) << file;
  }
}

}  // namespace
}  // namespace qvs
