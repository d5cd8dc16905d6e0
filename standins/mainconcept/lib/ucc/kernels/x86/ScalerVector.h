// The scaler's kernels over a vector type. `V` gives the registers and operations of one instruction set.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "../GatherPlan.h"
#include "../PlainScaler.h"

namespace qvs::ucc {

template <class V>
class ScalerVector {
 public:
  static void scaleLine(const FilterBank& filter, const GatherPlan& plan, uint32_t components,
                        const uint8_t* src, int16_t* line) {
    if (!plan.usable()) return plainScaleLine(filter, plan, components, src, line);
    kGatherForms[plan.tapsPerStep() == 4][plan.sharedWindow()][plan.steps() - 1](plan, src, line);
  }

  static void combineLines(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint8_t* dst,
                           uint32_t samples) {
    kSumForms[taps - 1](lines, weights, dst, samples);
  }

  /// The last block overlaps the one before.
  static void sumRows(const uint8_t* src, ptrdiff_t stride, const int16_t* weights, uint32_t taps,
                      int16_t* line, uint32_t samples) {
    if (samples < V::kBytes) return plainSumRows(src, stride, weights, taps, line, samples);
    uint32_t x = 0;
    for (; x + V::kBytes <= samples; x += V::kBytes) sumBlock(src + x, stride, weights, taps, line + x);
    if (x == samples) return;
    x = samples - V::kBytes;
    sumBlock(src + x, stride, weights, taps, line + x);
  }

  /// Output by output. Those whose filled-up taps would reach beyond the line go tap by tap.
  static void filterLine(const FilterBank& filter, uint32_t components, const int16_t* line, uint8_t* dst) {
    if (filter.isShort() || components != 1) return plainFilterLine(filter, components, line, dst);
    const int shift = static_cast<int>(filter.bits()) + kLineBits;
    for (uint32_t i = 0; i < filter.dstSize(); ++i) {
      const int16_t* weights = filter.weights(i);
      const int16_t* from = line + filter.start(i);
      int total = 1 << (shift - 1);
      if (filter.start(i) + filter.filledTaps() <= filter.srcSize()) {
        Reg sums = V::zero();
        for (uint32_t t = 0; t < filter.filledTaps(); t += V::kBytes / 2) {
          sums = V::add32(sums, V::addPairs(V::load(from + t), V::load(weights + t)));
        }
        total += V::total32(sums);
      } else {
        for (uint32_t t = 0; t < filter.taps(); ++t) total += weights[t] * from[t];
      }
      dst[i] = static_cast<uint8_t>(std::clamp(total >> shift, 0, 255));
    }
  }

 private:
  using Reg = typename V::Reg;
  using GatherForm = void (*)(const GatherPlan&, const uint8_t*, int16_t*);
  using SumForm = void (*)(const int16_t* const*, const int16_t*, uint8_t*, uint32_t);

  /// Tables of a run stay in registers over all of its blocks.
  template <int TapsPerStep, bool SharedWindow, int Steps>
  static void gatherForm(const GatherPlan& plan, const uint8_t* src, int16_t* line) {
    constexpr int kOutputs = V::kBytes / TapsPerStep;
    for (uint32_t r = 0; r < plan.runs(); ++r) {
      const GatherRun& run = plan.run(r);
      const uint8_t* table = plan.table(run.table);
      Reg index[Steps], high[Steps], low[Steps];
      const uint8_t* from[Steps][V::kUnits];
#pragma GCC unroll 4
      for (int s = 0; s < Steps; ++s, table += 3 * V::kBytes) {
        index[s] = V::load(table);
        high[s] = V::load(table + V::kBytes);
        low[s] = V::load(table + 2 * V::kBytes);
        for (int u = 0; u < V::kUnits; ++u) from[s][u] = src + run.offset[s][u];
      }
      ptrdiff_t at = 0;
      for (uint32_t block = run.blocks; block != 0; --block, at += run.sourceStep, line += kOutputs) {
        Reg highSum = V::zero();
        Reg lowSum = V::set16(TapsPerStep == 2 ? 16 : 8);
        Reg window = V::loadUnits(from[0], at);
#pragma GCC unroll 4
        for (int s = 0; s < Steps; ++s) {
          if (!SharedWindow && s != 0) window = V::loadUnits(from[s], at);
          const Reg bytes = V::shuffleUnits(window, index[s]);
          highSum = V::add16(highSum, V::multiplyPairs(bytes, high[s]));
          lowSum = V::add16(lowSum, V::multiplyPairs(bytes, low[s]));
        }
        if constexpr (TapsPerStep == 2) {
          V::store(line, V::add16(highSum, V::template shiftRight16<GatherPlan::kLowBits>(lowSum)));
        } else {
          const Reg sum = V::add32(V::addPairs(highSum, V::set16(1 << GatherPlan::kLowBits)),
                                   V::addPairs(lowSum, V::set16(1)));
          V::storeNarrowed(line, V::template shiftRight32<GatherPlan::kLowBits>(sum));
        }
      }
    }
  }

  template <int Taps>
  static Reg sum(const int16_t* const* lines, const Reg* weights, uint32_t x) {
    Reg total = V::set16(1 << (kSumBits - 1));
#pragma GCC unroll 16
    for (int t = 0; t < Taps; ++t)
      total = V::add16(total, V::multiplyHigh(V::load(lines[t] + x), weights[t]));
    return V::template shiftRight16<kSumBits>(total);
  }

  template <int Taps>
  static void sumForm(const int16_t* const* linesIn, const int16_t* weightsIn, uint8_t* dst,
                      uint32_t samples) {
    const int16_t* lines[Taps];
    Reg weights[Taps];
#pragma GCC unroll 16
    for (int t = 0; t < Taps; ++t) {
      lines[t] = linesIn[t];
      weights[t] = V::set16(weightsIn[t]);
    }
    uint32_t x = 0;
    for (; x + V::kBytes <= samples; x += V::kBytes) {
      V::store(dst + x,
               V::packUnsigned(sum<Taps>(lines, weights, x), sum<Taps>(lines, weights, x + V::kBytes / 2)));
    }
    if (x == samples) return;
    V::storePart(dst + x,
                 V::packUnsigned(sum<Taps>(lines, weights, x), sum<Taps>(lines, weights, x + V::kBytes / 2)),
                 samples - x);
  }

  /// One register of bytes. Interleaving works in lanes, and so does packing: the order comes out as it was.
  static void sumBlock(const uint8_t* src, ptrdiff_t stride, const int16_t* weights, uint32_t taps,
                       int16_t* line) {
    constexpr int kShift = static_cast<int>(FilterBank::kWideBits) - kLineBits;
    Reg sums[4];
    for (Reg& sum : sums) sum = V::set32(1 << (kShift - 1));
    for (uint32_t t = 0; t < taps; t += 2, src += 2 * stride) {
      const bool pair = t + 1 < taps;
      const Reg upper = V::load(src);
      const Reg lower = pair ? V::load(src + stride) : V::zero();
      const Reg both = V::set32((weights[t] & 0xFFFF) | (pair ? weights[t + 1] * 0x10000 : 0));
      const Reg low = V::unpackLow8(upper, lower);
      const Reg high = V::unpackHigh8(upper, lower);
      sums[0] = V::add32(sums[0], V::addPairs(V::unpackLow8(low, V::zero()), both));
      sums[1] = V::add32(sums[1], V::addPairs(V::unpackHigh8(low, V::zero()), both));
      sums[2] = V::add32(sums[2], V::addPairs(V::unpackLow8(high, V::zero()), both));
      sums[3] = V::add32(sums[3], V::addPairs(V::unpackHigh8(high, V::zero()), both));
    }
    const auto words = [&](int i) {
      return V::packWords(V::template shiftRight32<kShift>(sums[i]),
                          V::template shiftRight32<kShift>(sums[i + 1]));
    };
    V::storeWordHalves(line, words(0), words(2));
  }

  template <int TapsPerStep, bool SharedWindow>
  static constexpr std::array<GatherForm, 4> formsBySteps() {
    return {gatherForm<TapsPerStep, SharedWindow, 1>, gatherForm<TapsPerStep, SharedWindow, 2>,
            gatherForm<TapsPerStep, SharedWindow, 3>, gatherForm<TapsPerStep, SharedWindow, 4>};
  }

  static constexpr std::array<GatherForm, 4> kGatherForms[2][2] = {
      {formsBySteps<2, false>(), formsBySteps<2, true>()},
      {formsBySteps<4, false>(), formsBySteps<4, true>()}};
  static constexpr SumForm kSumForms[FilterBank::kMaxShortTaps] = {
      sumForm<1>, sumForm<2>,  sumForm<3>,  sumForm<4>,  sumForm<5>,  sumForm<6>,  sumForm<7>,  sumForm<8>,
      sumForm<9>, sumForm<10>, sumForm<11>, sumForm<12>, sumForm<13>, sumForm<14>, sumForm<15>, sumForm<16>};
};

}  // namespace qvs::ucc
