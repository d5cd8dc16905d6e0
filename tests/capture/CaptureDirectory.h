#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace qvs::test {

/// A capture root below a folder of its own, which goes with this.
class CaptureDirectory {
 public:
  CaptureDirectory() {
    char name[] = "/tmp/qvs-capture-XXXXXX";
    if (mkdtemp(name) == nullptr) throw std::runtime_error("no folder");
    root = name;
  }
  ~CaptureDirectory() { std::filesystem::remove_all(root); }
  CaptureDirectory(const CaptureDirectory&) = delete;
  CaptureDirectory& operator=(const CaptureDirectory&) = delete;

  const std::string& path() const { return root; }
  std::string device(int number) const { return root + "/capture/capture" + std::to_string(number); }

  void write(int number, const std::string& file, const std::string& bytes) const {
    std::filesystem::create_directories(device(number));
    std::ofstream(device(number) + "/" + file, std::ios::binary) << bytes;
  }

  /// 64x48 pictures at 50 a second, whose luma tells their place; with a WAV file of as many periods, each sample
  /// of which tells its place on the left and the negative on the right.
  void writeMovie(int number, int pictures, const std::string& properties = {}) const {
    std::string video;
    for (int i = 0; i < pictures; ++i) {
      video += std::string(64 * 48, static_cast<char>(kFirstLuma + i * kLumaStep)) +
               std::string(32 * 24, static_cast<char>(kV)) + std::string(32 * 24, static_cast<char>(kU));
    }
    std::string sound("RIFF\xFF\xFF\xFF\xFFWAVEfact\4\0\0\0\0\0\0\0", 24);
    const int samples = pictures * kSamplesPerPicture;
    sound += "data" + littleEndian(samples * 4, 4);
    for (int i = 0; i < samples; ++i) sound += littleEndian(i, 2) + littleEndian(-i, 2);
    // Behind the samples, and no sound.
    sound += std::string("LIST\4\0\0\0junk", 12);
    write(number, "video.yuv", video);
    write(number, "sound.wav", sound);
    write(number, "info.properties",
          "# a movie\nvideo.file.path: video.yuv\nvideo.frameWidth:64\nvideo.frameHeight:48\n"
          "video.frameRateEnum: 50\naudio.file.path:sound.wav\n" +
              properties);
  }

  static constexpr int kFirstLuma = 40, kLumaStep = 20, kU = 90, kV = 170, kSamplesPerPicture = 960;

 private:
  static std::string littleEndian(int value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>((value >> (8 * i)) & 0xFF);
    return text;
  }

  std::string root;
};

}  // namespace qvs::test
