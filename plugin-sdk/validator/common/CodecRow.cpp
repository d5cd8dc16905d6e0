// The codecs that the validator can look into.
#include "common/CodecRow.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace qvs::validator {
namespace {

constexpr std::array<CodecRow, kCodecCount> kRows{{{"of unknown codec", 0, 0, false},
                                                   {"h264", 7, 0, true},
                                                   {"h265", 12, 0, true},
                                                   {"vp8", 8, 8, false},
                                                   {"vp9", 8, 9, false},
                                                   {"mpeg2", 11, 0, false}}};

struct Word {
  const char* text;
  CodecNumber codec;
};
constexpr Word kWords[] = {{"h264", kH264}, {"h26x", kH264}, {"h265", kH265},
                           {"hevc", kH265}, {"h26x", kH265}, {"vp8", kVP8},
                           {"vp9", kVP9},   {"mp2", kMPEG2}, {"mpeg2", kMPEG2}};

}  // namespace

const CodecRow& codecRow(uint32_t number) {
  return kRows.at(number);
}

std::vector<uint32_t> codecsNamed(const std::string& text) {
  std::string plain;  // "H.264" is "h264"
  for (const char c : text) {
    if (c != '.') plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  std::vector<uint32_t> found;
  for (const Word& word : kWords) {
    if (plain.find(word.text) == std::string::npos) continue;
    if (std::find(found.begin(), found.end(), word.codec) == found.end()) found.push_back(word.codec);
  }
  if (found.empty()) found.push_back(kUnknownCodec);
  return found;
}

}  // namespace qvs::validator
