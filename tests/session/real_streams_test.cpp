#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
  bool even;
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
  const std::regex row(
      "\\| (\\S+) \\| vp[89][^|]*\\| ivf \\| (\\d+)x(\\d+) yuv420p .*\\b([0-9a-f]{32})\\b.*");
  std::string folder;
  for (std::string line; std::getline(readme, line);) {
    std::smatch match;
    if (std::regex_match(line, match, heading)) folder = match[1];
    if (!std::regex_match(line, match, row)) continue;
    const bool even = std::stoi(match[2]) % 2 == 0 && std::stoi(match[3]) % 2 == 0;
    vectors.push_back({mediaFolder() + "/" + folder + "/" + match[1].str(), match[4], even});
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

class RealStreams : public testing::Test {
 protected:
  void SetUp() override {
    if (mediaFolder().empty()) GTEST_SKIP() << "QVS_MEDIA is not set: no real streams to decode";
  }
};

TEST_F(RealStreams, DecodeToThePublishedSums) {
  const std::vector<Vector> vectors = publishedVectors();
  ASSERT_GT(vectors.size(), 20u);
  for (const Vector& vector : vectors) {
    const CodedStream stream = test::readIvf(vector.path);
    ASSERT_FALSE(stream.packets.empty()) << vector.path;
    SessionLadder ladder({.codecVersion = stream.codecVersion});
    std::vector<uint8_t> pictures;
    for (const auto& packet : stream.packets) {
      if (!ladder.decode(packet, packet.timecode)) continue;
      const std::vector<uint8_t> picture = test::i420Bytes(*ladder.decodedFrame());
      pictures.insert(pictures.end(), picture.begin(), picture.end());
    }
    // Sums of odd sizes count chroma that frames round away.
    if (vector.even) EXPECT_EQ(test::md5(pictures), vector.md5) << vector.path;
  }
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
