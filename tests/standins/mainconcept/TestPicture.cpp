#include "TestPicture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <random>

namespace qvs::test {
namespace {

template <size_t Numerator, size_t Denominator = 1>
size_t scaledRow(size_t width) {
  return width * Numerator / Denominator;
}

size_t v210Row(size_t width) {
  return (width + 5) / 6 * 16;
}

template <int Bytes, int Bits>
SampleField planarField(int component, size_t x) {
  return {component, x * Bytes, Bytes, 8 * Bytes - Bits, Bits};
}

template <int Bytes, int Bits, int First>
SampleField pairField(int component, size_t x) {
  if (component == 0) return planarField<Bytes, Bits>(0, x);
  return {1, (2 * x + (component == First ? 0 : 1)) * Bytes, Bytes, 8 * Bytes - Bits, Bits};
}

template <int Bytes, int C0, int C1, int C2, int Alpha>
SampleField pixelField(int component, size_t x) {
  constexpr int kPosition[] = {C0, C1, C2, Alpha};
  return {0, Bytes * x + kPosition[component], 1, 0, 8};
}

template <int Bytes, int Bits, int Y0, int U, int V>
SampleField packed422Field(int component, size_t x) {
  const size_t index = component == 0 ? 2 * x + Y0 : 4 * x + (component == 1 ? U : V);
  return {0, index * Bytes, Bytes, 8 * Bytes - Bits, Bits};
}

template <int Green>
SampleField rgb16Field(int component, size_t x) {
  const int shift[] = {5 + Green, 5, 0};
  return {0, 2 * x, 2, shift[component], component == 1 ? Green : 5};
}

SampleField v210Field(int component, size_t x) {
  const size_t sample = component == 0 ? 2 * x + 1 : 4 * x + (component == 1 ? 0 : 2);
  return {0, sample / 12 * 16 + sample % 12 / 3 * 4, 4, static_cast<int>(sample % 3) * 10, 10};
}

SampleField r210Field(int component, size_t x) {
  return {0, 4 * x, 4, 20 - 10 * component, 10, true};
}

SampleField y41pField(int component, size_t x) {
  constexpr size_t kLuma[] = {1, 3, 5, 7, 8, 9, 10, 11};
  const size_t offset =
      component == 0 ? x / 8 * 12 + kLuma[x % 8] : x / 2 * 12 + x % 2 * 4 + (component == 1 ? 0 : 2);
  return {0, offset, 1, 0, 8};
}

constexpr auto w1 = scaledRow<1>;
constexpr auto w2 = scaledRow<2>;
constexpr auto w3 = scaledRow<3>;
constexpr auto w4 = scaledRow<4>;

}  // namespace

const std::vector<TestFormat>& testFormats() {
  static const std::vector<TestFormat> formats = {
      {"I420", UCC_FORMAT_I420, false, false, 1, 1, 3, w1, w1, planarField<1, 8>},
      {"I422", UCC_FORMAT_I422, false, false, 1, 0, 3, w1, w1, planarField<1, 8>},
      {"NV12", UCC_FORMAT_NV12, false, false, 1, 1, 2, w1, w2, pairField<1, 8, 1>},
      {"NV21", UCC_FORMAT_NV21, false, false, 1, 1, 2, w1, w2, pairField<1, 8, 2>},
      {"P010", UCC_FORMAT_P010, false, false, 1, 1, 2, w2, w4, pairField<2, 10, 1>},
      {"P016", UCC_FORMAT_P016, false, false, 1, 1, 2, w2, w4, pairField<2, 16, 1>},
      {"P210", UCC_FORMAT_P210, false, false, 1, 0, 2, w2, w4, pairField<2, 10, 1>},
      {"P216", UCC_FORMAT_P216, false, false, 1, 0, 2, w2, w4, pairField<2, 16, 1>},
      {"YUY2", UCC_FORMAT_YUY2, false, false, 1, 0, 1, w2, w1, packed422Field<1, 8, 0, 1, 3>},
      {"UYVY", UCC_FORMAT_UYVY, false, false, 1, 0, 1, w2, w1, packed422Field<1, 8, 1, 0, 2>},
      {"Y210", UCC_FORMAT_Y210, false, false, 1, 0, 1, w4, w1, packed422Field<2, 10, 0, 1, 3>},
      {"Y216", UCC_FORMAT_Y216, false, false, 1, 0, 1, w4, w1, packed422Field<2, 16, 0, 1, 3>},
      {"v210", UCC_FORMAT_V210, false, false, 1, 0, 1, v210Row, w1, v210Field},
      {"Y41P", UCC_FORMAT_Y41P, false, false, 2, 0, 1, scaledRow<3, 2>, w1, y41pField},
      {"AYUV", UCC_FORMAT_AYUV, false, true, 0, 0, 1, w4, w1, pixelField<4, 1, 2, 3, 0>},
      {"VUYA", UCC_FORMAT_VUYA, false, true, 0, 0, 1, w4, w1, pixelField<4, 2, 1, 0, 3>},
      {"BGRA", UCC_FORMAT_BGRA, true, true, 0, 0, 1, w4, w1, pixelField<4, 2, 1, 0, 3>},
      {"ARGB", UCC_FORMAT_ARGB, true, true, 0, 0, 1, w4, w1, pixelField<4, 1, 2, 3, 0>},
      {"BGR4", UCC_FORMAT_BGR4, true, false, 0, 0, 1, w4, w1, pixelField<4, 2, 1, 0, 3>},
      {"BGR3", UCC_FORMAT_BGR3, true, false, 0, 0, 1, w3, w1, pixelField<3, 2, 1, 0, 0>},
      {"r210", UCC_FORMAT_R210, true, false, 0, 0, 1, w4, w1, r210Field},
      {"R555", UCC_FORMAT_R555, true, false, 0, 0, 1, w2, w1, rgb16Field<5>},
      {"R565", UCC_FORMAT_R565, true, false, 0, 0, 1, w2, w1, rgb16Field<6>},
  };
  return formats;
}

const TestFormat& testFormat(uint32_t id) {
  const auto& all = testFormats();
  return *std::find_if(all.begin(), all.end(), [id](const TestFormat& format) { return format.id == id; });
}

Rgb smoothScene(double x, double y) {
  return {0.5 + 0.4 * std::sin(3 * x + y), 0.5 + 0.4 * std::cos(2 * y - x),
          0.5 + 0.4 * std::sin(3 * y - 2 * x + 4)};
}

TestPicture::TestPicture(const TestFormat& format, uint32_t width, uint32_t height, size_t padding,
                         bool bottomUp)
    : kind(format) {
  record.pixel_format = format.id;
  record.width = width;
  record.height = height;
  record.progressive_frame_flag = 1;
  setColor(MATRIX_COEFFICIENTS_BT709_6, PIC_SIGNAL_RANGE_FULL);
  for (int p = 0; p < format.planes; ++p) {
    const size_t stride = bytesInRow(p) + padding;
    const size_t rows = rowsOfPlane(p);
    const size_t size = rows ? (rows - 1) * stride + bytesInRow(p) : 0;
    storage[p] = std::make_unique<GuardedBytes>(size);
    record.stride[p] = static_cast<int32_t>(bottomUp ? -static_cast<ptrdiff_t>(stride) : stride);
    record.plane[p] = storage[p]->data() + (bottomUp && rows ? (rows - 1) * stride : 0);
  }
}

void TestPicture::setColor(uint32_t matrix, uint32_t range) {
  record.colorimetry = {1, 1, matrix, range};
}

uint32_t TestPicture::columns(int component) const {
  return component == 1 || component == 2 ? record.width >> kind.shiftX : record.width;
}

uint32_t TestPicture::rows(int component) const {
  return component == 1 || component == 2 ? record.height >> kind.shiftY : record.height;
}

uint8_t* TestPicture::rowOf(int plane, size_t y) const {
  return record.plane[plane] + static_cast<ptrdiff_t>(y) * record.stride[plane];
}

size_t TestPicture::bytesInRow(int plane) const {
  return plane == 0 ? kind.rowBytes(record.width) : kind.chromaRowBytes(columns(1));
}

uint32_t TestPicture::rowsOfPlane(int plane) const {
  return plane == 0 ? record.height : rows(1);
}

uint32_t TestPicture::max(int component) const {
  return (1u << kind.field(component, 0).bits) - 1;
}

bool TestPicture::isStored(int component, size_t x) const {
  const SampleField field = kind.field(component, x);
  return field.offset + field.bytes <= bytesInRow(field.plane);
}

uint32_t TestPicture::get(int component, size_t x, size_t y) const {
  const SampleField field = kind.field(component, x);
  uint32_t word = 0;
  std::memcpy(&word, rowOf(field.plane, y) + field.offset, field.bytes);
  if (field.swapped) word = __builtin_bswap32(word);
  return word >> field.shift & max(component);
}

void TestPicture::set(int component, size_t x, size_t y, uint32_t value) {
  if (!isStored(component, x)) return;
  const SampleField field = kind.field(component, x);
  uint8_t* at = rowOf(field.plane, y) + field.offset;
  uint32_t word = 0;
  std::memcpy(&word, at, field.bytes);
  if (field.swapped) word = __builtin_bswap32(word);
  word = (word & ~(max(component) << field.shift)) | value << field.shift;
  if (field.swapped) word = __builtin_bswap32(word);
  std::memcpy(at, &word, field.bytes);
}

void TestPicture::randomize(uint32_t seed) {
  std::mt19937 random(seed);
  for (int p = 0; p < kind.planes; ++p) {
    for (uint32_t y = 0; y < rowsOfPlane(p); ++y) std::memset(rowOf(p, y), 0, bytesInRow(p));
  }
  for (int c = 0; c < (kind.alpha ? 4 : 3); ++c) {
    for (uint32_t y = 0; y < rows(c); ++y) {
      for (uint32_t x = 0; x < columns(c); ++x) set(c, x, y, static_cast<uint32_t>(random()) & max(c));
    }
  }
}

void TestPicture::paint(const Scene& scene) {
  const bool full = record.colorimetry.signal_range == PIC_SIGNAL_RANGE_FULL;
  const bool bt601 = record.colorimetry.matrix_coefficients == MATRIX_COEFFICIENTS_BT601_6;
  const double kr = bt601 ? 0.299 : 0.2126, kb = bt601 ? 0.114 : 0.0722;
  for (int c = 0; c < 3; ++c) {
    for (uint32_t y = 0; y < rows(c); ++y) {
      for (uint32_t x = 0; x < columns(c); ++x) {
        const double unitX = 1 << (record.width - columns(c) ? kind.shiftX : 0);
        const double unitY = 1 << (record.height - rows(c) ? kind.shiftY : 0);
        const Rgb rgb = scene((x + 0.5) * unitX / record.width, (y + 0.5) * unitY / record.height);
        const double luma = kr * rgb[0] + (1 - kr - kb) * rgb[1] + kb * rgb[2];
        const double unit = (max(c) + 1) / 256.0;  // of one step at 8 bits
        double value;
        if (kind.rgb || c == 0) {
          const double level = kind.rgb ? rgb[c] : luma;
          value = full ? level * max(c) : (16 + level * 219) * unit;
        } else {
          const double difference = c == 1 ? (rgb[2] - luma) / (2 - 2 * kb) : (rgb[0] - luma) / (2 - 2 * kr);
          value = 128 * unit + difference * (full ? max(c) : 224 * unit);
        }
        set(c, x, y, static_cast<uint32_t>(std::clamp(std::lround(value), 0L, static_cast<long>(max(c)))));
      }
    }
  }
  for (uint32_t y = 0; kind.alpha && y < record.height; ++y) {
    for (uint32_t x = 0; x < record.width; ++x) set(3, x, y, 255);
  }
}

Rgb TestPicture::rgbAt(uint32_t x, uint32_t y) const {
  const bool full = record.colorimetry.signal_range == PIC_SIGNAL_RANGE_FULL;
  const bool bt601 = record.colorimetry.matrix_coefficients == MATRIX_COEFFICIENTS_BT601_6;
  const double kr = bt601 ? 0.299 : 0.2126, kb = bt601 ? 0.114 : 0.0722;
  double value[3];
  for (int c = 0; c < 3; ++c) {
    const double unit = (max(c) + 1) / 256.0;  // of one step at 8 bits
    const bool chroma = !kind.rgb && c > 0;
    double sample = chroma ? 128 * unit : 0;
    if (columns(c) && rows(c)) {
      const uint32_t column = std::min(columns(c) == record.width ? x : x >> kind.shiftX, columns(c) - 1);
      const uint32_t row = std::min(rows(c) == record.height ? y : y >> kind.shiftY, rows(c) - 1);
      sample = get(c, column, row);
    }
    const double zero = chroma ? 128 * unit : full ? 0 : 16 * unit;
    const double span = full ? max(c) : (chroma ? 224 : 219) * unit;
    value[c] = (sample - zero) / span;
  }
  if (kind.rgb) return {value[0], value[1], value[2]};
  const double red = value[0] + (2 - 2 * kr) * value[2];
  const double blue = value[0] + (2 - 2 * kb) * value[1];
  return {red, (value[0] - kr * red - kb * blue) / (1 - kr - kb), blue};
}

double TestPicture::psnrAgainst(const Scene& scene) const {
  double error = 0;
  for (uint32_t y = 0; y < record.height; ++y) {
    for (uint32_t x = 0; x < record.width; ++x) {
      const Rgb wanted = scene((x + 0.5) / record.width, (y + 0.5) / record.height);
      const Rgb got = rgbAt(x, y);
      for (int c = 0; c < 3; ++c) error += (wanted[c] - got[c]) * (wanted[c] - got[c]);
    }
  }
  return -10 * std::log10(error / (3.0 * record.width * record.height) + 1e-12);
}

bool TestPicture::paddingIntact() const {
  for (int p = 0; p < kind.planes; ++p) {
    const size_t stride = std::abs(record.stride[p]);
    for (size_t y = 0; y + 1 < rowsOfPlane(p); ++y) {
      const uint8_t* row = storage[p]->data() + y * stride;
      const bool intact =
          std::all_of(row + bytesInRow(p), row + stride, [](uint8_t b) { return b == GuardedBytes::kFill; });
      if (!intact) return false;
    }
  }
  return true;
}

std::vector<uint8_t> TestPicture::bytes() const {
  std::vector<uint8_t> all;
  for (int p = 0; p < kind.planes; ++p) {
    for (uint32_t y = 0; y < rowsOfPlane(p); ++y)
      all.insert(all.end(), rowOf(p, y), rowOf(p, y) + bytesInRow(p));
  }
  return all;
}

}  // namespace qvs::test
