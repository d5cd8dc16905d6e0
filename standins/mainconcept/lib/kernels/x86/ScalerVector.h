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
    if (!plan.usable()) {
      const bool dots = !filter.isShort() && components == 1;
      return dots ? dotForm(filter, src, line) : plainScaleLine(filter, plan, components, src, line);
    }
    kGatherForms[plan.tapsPerStep() == 4][plan.sharedWindow()][plan.steps() - 1](plan, src, line);
  }

  static void combineLines(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint8_t* dst,
                           uint32_t samples) {
    if (taps > FilterBank::kMaxShortTaps) return wideSumForm(lines, weights, taps, dst, samples);
    kSumForms[taps - 1](lines, weights, dst, samples);
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
      size_t at = 0;
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

  /// Wide filters: output by output. Those whose filled-up taps would reach beyond the row go tap by tap.
  static void dotForm(const FilterBank& filter, const uint8_t* src, int16_t* line) {
    constexpr int kShift = static_cast<int>(FilterBank::kWideBits) - kLineBits;
    for (uint32_t i = 0; i < filter.dstSize(); ++i) {
      const int16_t* weights = filter.weights(i);
      const uint8_t* from = src + filter.start(i);
      int total = 1 << (kShift - 1);
      if (filter.start(i) + filter.filledTaps() <= filter.srcSize()) {
        Reg sums = V::zero();
        for (uint32_t t = 0; t < filter.filledTaps(); t += V::kBytes / 2) {
          sums = V::add32(sums, V::addPairs(V::loadWidened(from + t), V::load(weights + t)));
        }
        total += V::total32(sums);
      } else {
        for (uint32_t t = 0; t < filter.taps(); ++t) total += weights[t] * from[t];
      }
      line[i] = static_cast<int16_t>(total >> kShift);
    }
  }

  /// One register of samples, as words.
  static Reg wideSum(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint32_t x) {
    constexpr int kBits = kLineBits + static_cast<int>(FilterBank::kWideBits);
    Reg first = V::set32(1 << (kBits - 1));
    Reg second = first;
    for (uint32_t t = 0; t < taps; t += 2) {
      const bool pair = t + 1 < taps;
      const Reg upper = V::load(lines[t] + x);
      const Reg lower = pair ? V::load(lines[t + 1] + x) : V::zero();
      const Reg both = V::set32((weights[t] & 0xFFFF) | (pair ? weights[t + 1] * 0x10000 : 0));
      first = V::add32(first, V::addPairs(V::unpackLow16(upper, lower), both));
      second = V::add32(second, V::addPairs(V::unpackHigh16(upper, lower), both));
    }
    return V::packWords(V::template shiftRight32<kBits>(first), V::template shiftRight32<kBits>(second));
  }

  static void wideSumForm(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint8_t* dst,
                          uint32_t samples) {
    for (uint32_t x = 0; x < samples; x += V::kBytes) {
      const Reg bytes =
          V::packUnsigned(wideSum(lines, weights, taps, x), wideSum(lines, weights, taps, x + V::kBytes / 2));
      V::storePart(dst + x, bytes, std::min<uint32_t>(samples - x, V::kBytes));
    }
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
