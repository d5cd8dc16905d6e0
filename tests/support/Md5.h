#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct AVMD5;

namespace qvs::test {

/// The md5 of bytes that come piece by piece.
class RunningMd5 {
 public:
  RunningMd5();
  void add(const std::vector<uint8_t>& bytes);
  /// Hexadecimal; nothing may be added behind it.
  std::string text();

 private:
  std::unique_ptr<AVMD5, void (*)(void*)> state;
};

std::string md5(const std::vector<uint8_t>& bytes);

}  // namespace qvs::test
