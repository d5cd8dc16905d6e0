// Row codecs, one template per kind of packing: each has `unpack` and `pack` for use in the format table. A
// row never reads or writes past its bytes; chroma that a row is too narrow to hold is neither read nor
// written.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "ucc/Rows.h"

namespace qvs::ucc {

inline uint32_t loadWord(const uint8_t* bytes) {
  uint16_t value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

inline void storeWord(uint8_t* bytes, uint32_t value) {
  const auto word = static_cast<uint16_t>(value);
  std::memcpy(bytes, &word, sizeof word);
}

/// Sample of type T in a packed row, whose address need not be aligned.
template <class T>
T loadSample(const uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <class T>
void storeSample(uint8_t* bytes, uint32_t value) {
  const auto sample = static_cast<T>(value);
  std::memcpy(bytes, &sample, sizeof sample);
}

template <class T>
T* samplesOf(const Rows& rows, int component) {
  return reinterpret_cast<T*>(rows.component[component]);
}

/// A plane of its own. Deep samples sit in the high bits of their words.
template <class T, int Component, int Shift = 0>
struct PlainRow {
  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
    T* to = samplesOf<T>(out, Component);
    if constexpr (Shift == 0) {
      std::memcpy(to, row, samples * sizeof(T));
    } else {
      for (uint32_t i = 0; i < samples; ++i)
        to[i] = static_cast<T>(loadSample<T>(row + i * sizeof(T)) >> Shift);
    }
  }
  static void pack(uint8_t* row, const Rows& in, uint32_t samples) {
    const T* from = samplesOf<T>(in, Component);
    if constexpr (Shift == 0) {
      std::memcpy(row, from, samples * sizeof(T));
    } else {
      for (uint32_t i = 0; i < samples; ++i) storeSample<T>(row + i * sizeof(T), from[i] << Shift);
    }
  }
};

// Byte rows by libyuv's vector code. `at` lists the components by their place in the group.
void splitPairs(const uint8_t* row, uint8_t* first, uint8_t* second, uint32_t pairs);
void mergePairs(uint8_t* row, const uint8_t* first, const uint8_t* second, uint32_t pairs);
void splitThrees(const uint8_t* row, uint8_t* const at[3], uint32_t pixels);
void mergeThrees(uint8_t* row, const uint8_t* const at[3], uint32_t pixels);
void splitFours(const uint8_t* row, uint8_t* const at[4], uint32_t pixels);  ///< the last may be null
void mergeFours(uint8_t* row, const uint8_t* const at[4], uint32_t pixels);  ///< the last may be null: 255

/// Two components side by side in one plane.
template <class T, int First, int Second, int Shift = 0>
struct PairRow {
  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
    T* __restrict first = samplesOf<T>(out, First);
    T* __restrict second = samplesOf<T>(out, Second);
    if constexpr (sizeof(T) == 1) return splitPairs(row, first, second, samples);
    for (uint32_t i = 0; i < samples; ++i) {
      first[i] = static_cast<T>(loadSample<T>(row + 2 * i * sizeof(T)) >> Shift);
      second[i] = static_cast<T>(loadSample<T>(row + (2 * i + 1) * sizeof(T)) >> Shift);
    }
  }
  static void pack(uint8_t* __restrict row, const Rows& in, uint32_t samples) {
    const T* first = samplesOf<T>(in, First);
    const T* second = samplesOf<T>(in, Second);
    if constexpr (sizeof(T) == 1) return mergePairs(row, first, second, samples);
    for (uint32_t i = 0; i < samples; ++i) {
      storeSample<T>(row + 2 * i * sizeof(T), first[i] << Shift);
      storeSample<T>(row + (2 * i + 1) * sizeof(T), second[i] << Shift);
    }
  }
};

/// Three or four bytes a pixel; C0 to C2 and Alpha are byte positions, Alpha -1 where there is none.
template <int Bytes, int C0, int C1, int C2, int Alpha = -1>
struct PixelRow {
  static constexpr bool kAlphaFirst = Alpha == 0;

  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
    uint8_t* at[4] = {};
    at[C0] = out.component[0];
    at[C1] = out.component[1];
    at[C2] = out.component[2];
    if constexpr (Bytes == 3) return splitThrees(row, at, samples);
    if constexpr (Alpha >= 0) at[Alpha] = out.component[3];
    if (!kAlphaFirst || at[0]) return splitFours(row, at, samples);
    uint8_t* __restrict first = at[1];
    uint8_t* __restrict second = at[2];
    uint8_t* __restrict third = at[3];
    for (uint32_t i = 0; i < samples; ++i) {
      first[i] = row[4 * i + 1];
      second[i] = row[4 * i + 2];
      third[i] = row[4 * i + 3];
    }
  }
  static void pack(uint8_t* __restrict row, const Rows& in, uint32_t samples) {
    const uint8_t* at[4] = {};
    at[C0] = in.component[0];
    at[C1] = in.component[1];
    at[C2] = in.component[2];
    if constexpr (Bytes == 3) return mergeThrees(row, at, samples);
    if constexpr (Alpha >= 0) at[Alpha] = in.component[3];
    if (!kAlphaFirst || at[0]) return mergeFours(row, at, samples);
    for (uint32_t i = 0; i < samples; ++i) {
      row[4 * i] = 255;
      row[4 * i + 1] = at[1][i];
      row[4 * i + 2] = at[2][i];
      row[4 * i + 3] = at[3][i];
    }
  }
};

/// Sample `index` of a chroma row, the last one again beyond its end, neutral where the row is empty.
template <class T>
uint32_t chromaAt(const T* row, uint32_t index, uint32_t count, uint32_t neutral) {
  return count == 0 ? neutral : row[std::min(index, count - 1)];
}

// Whole groups of 8-bit packed 4:2:2; `lumaFirst` tells Y U Y V from U Y V Y.
void splitGroups422(const uint8_t* row, const Rows& out, uint32_t pixels, bool lumaFirst);
void mergeGroups422(uint8_t* row, const Rows& in, uint32_t pixels, bool lumaFirst);

/// 4:2:2 with two pixels in four samples; the parameters are positions in the group. An odd last pixel has
/// only the group's first two samples, which are one luma and U in every such format.
template <class T, int Y0, int U, int Y1, int V, int Shift = 0>
struct Packed422Row {
  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
    const uint32_t groups = samples / 2;
    T* __restrict y = samplesOf<T>(out, 0);
    T* __restrict u = samplesOf<T>(out, 1);
    T* __restrict v = samplesOf<T>(out, 2);
    const auto at = [row](uint32_t i) { return static_cast<T>(loadSample<T>(row + i * sizeof(T)) >> Shift); };
    if constexpr (sizeof(T) == 1) {
      splitGroups422(row, out, 2 * groups, Y0 == 0);
    } else {
      for (uint32_t i = 0; i < groups; ++i) {
        y[2 * i] = at(4 * i + Y0);
        y[2 * i + 1] = at(4 * i + Y1);
        u[i] = at(4 * i + U);
        v[i] = at(4 * i + V);
      }
    }
    if (samples & 1) y[samples - 1] = at(4 * groups + Y0);
  }
  static void pack(uint8_t* __restrict row, const Rows& in, uint32_t samples) {
    const uint32_t groups = samples / 2;
    const T* y = samplesOf<T>(in, 0);
    const T* u = samplesOf<T>(in, 1);
    const T* v = samplesOf<T>(in, 2);
    const auto put = [row](uint32_t i, uint32_t value) {
      storeSample<T>(row + i * sizeof(T), value << Shift);
    };
    if constexpr (sizeof(T) == 1) {
      mergeGroups422(row, in, 2 * groups, Y0 == 0);
    } else {
      for (uint32_t i = 0; i < groups; ++i) {
        put(4 * i + Y0, y[2 * i]);
        put(4 * i + Y1, y[2 * i + 1]);
        put(4 * i + U, u[i]);
        put(4 * i + V, v[i]);
      }
    }
    if ((samples & 1) == 0) return;
    constexpr uint32_t kNeutral = 1u << (8 * sizeof(T) - Shift - 1);
    put(4 * groups + Y0, y[samples - 1]);
    put(4 * groups + U, chromaAt(u, groups, groups, kNeutral));
  }
};

/// 16-bit RGB, blue in the low bits. Samples widen to 8 bits by repeating their high bits, so the way back is
/// exact.
template <int GreenBits>
struct Rgb16Row {
  static constexpr uint32_t kGreenMax = (1u << GreenBits) - 1;
  static uint8_t widen5(uint32_t value) { return static_cast<uint8_t>(value << 3 | value >> 2); }
  static uint8_t widenGreen(uint32_t value) {
    return static_cast<uint8_t>(value << (8 - GreenBits) | value >> (2 * GreenBits - 8));
  }
  static uint32_t narrow(uint32_t value, uint32_t max) { return (value * max + 127) / 255; }

  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
    for (uint32_t i = 0; i < samples; ++i) {
      const uint32_t pixel = loadWord(row + 2 * i);
      out.component[0][i] = widen5(pixel >> (5 + GreenBits) & 31);
      out.component[1][i] = widenGreen(pixel >> 5 & kGreenMax);
      out.component[2][i] = widen5(pixel & 31);
    }
  }
  static void pack(uint8_t* row, const Rows& in, uint32_t samples) {
    for (uint32_t i = 0; i < samples; ++i) {
      storeWord(row + 2 * i, narrow(in.component[0][i], 31) << (5 + GreenBits) |
                                 narrow(in.component[1][i], kGreenMax) << 5 | narrow(in.component[2][i], 31));
    }
  }
};

/// Six pixels of 4:2:2 as twelve 10-bit samples, three to a 32-bit word, in the order U Y V Y.
struct V210Row {
  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples);
  static void pack(uint8_t* row, const Rows& in, uint32_t samples);
};

/// A pixel in a big-endian word: two bits of nothing, then 10 bits each of red, green and blue.
struct R210Row {
  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples);
  static void pack(uint8_t* row, const Rows& in, uint32_t samples);
};

/// Eight pixels of 4:1:1 in twelve bytes: U0 Y0 V0 Y1 U4 Y2 V4 Y3 Y4 Y5 Y6 Y7. A short last group keeps the
/// bytes that its share of the row holds; luma beyond them repeats the last that is there.
struct Y41pRow {
  static void unpack(const uint8_t* row, const Rows& out, uint32_t samples);
  static void pack(uint8_t* row, const Rows& in, uint32_t samples);
};

}  // namespace qvs::ucc
