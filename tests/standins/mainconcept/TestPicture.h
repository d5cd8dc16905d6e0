// A picture of any format whose every sample can be read and written by its definition, apart from the
// converter's code.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mc_ucc.h"
#include "support/GuardedBytes.h"

namespace qvs::test {

/// Where the bits of one sample lie.
struct SampleField {
  int plane;
  size_t offset;  ///< bytes from the row's start
  int bytes;      ///< of the word to load
  int shift;
  int bits;
  bool swapped = false;  ///< the word is big-endian
};

struct TestFormat {
  const char* name;
  uint32_t id;
  bool rgb;
  bool alpha;
  int shiftX;
  int shiftY;
  int planes;
  /// Bytes of a row of the first plane, and of the planes below it.
  size_t (*rowBytes)(size_t width);
  size_t (*chromaRowBytes)(size_t chromaWidth);
  /// Component 0 to 2: Y, U, V or R, G, B; 3: alpha. x counts samples of the component.
  SampleField (*field)(int component, size_t x);
};

const std::vector<TestFormat>& testFormats();
const TestFormat& testFormat(uint32_t id);

using Rgb = std::array<double, 3>;                     ///< 0 to 1
using Scene = std::function<Rgb(double x, double y)>;  ///< x, y from 0 to 1 over the picture

/// Smooth, saturated, and different in all three components.
Rgb smoothScene(double x, double y);

constexpr uint32_t kFull709[4] = {1, 1, MATRIX_COEFFICIENTS_BT709_6, PIC_SIGNAL_RANGE_FULL};

class TestPicture {
 public:
  /// Each plane has storage of its own that ends with its last row, before a guard page. Rows are `padding`
  /// bytes apart; `bottomUp` turns the strides round.
  TestPicture(const TestFormat& format, uint32_t width, uint32_t height, size_t padding = 5,
              bool bottomUp = false);

  ucc_frame_t& frame() { return record; }
  const TestFormat& format() const { return kind; }
  void setColor(uint32_t matrix, uint32_t range);

  uint32_t columns(int component) const;
  uint32_t rows(int component) const;
  /// False for the luma that a short last group of 4:1:1 has no bytes for; such samples are never touched.
  bool isStored(int component, size_t x) const;
  uint32_t get(int component, size_t x, size_t y) const;
  void set(int component, size_t x, size_t y, uint32_t value);
  uint32_t max(int component) const;

  void randomize(uint32_t seed);
  void paint(const Scene& scene);
  Rgb rgbAt(uint32_t x, uint32_t y) const;
  double psnrAgainst(const Scene& scene) const;
  /// Bytes between rows still have the value that construction gave them.
  bool paddingIntact() const;
  std::vector<uint8_t> bytes() const;

 private:
  uint8_t* rowOf(int plane, size_t y) const;
  size_t bytesInRow(int plane) const;
  uint32_t rowsOfPlane(int plane) const;

  const TestFormat& kind;
  ucc_frame_t record{};
  std::unique_ptr<GuardedBytes> storage[3];
};

}  // namespace qvs::test
