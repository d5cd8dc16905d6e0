// How vector kernels gather the input samples of a block of outputs.
#include "GatherPlan.h"

#include <algorithm>
#include <cstring>

namespace qvs::ucc {
namespace {

/// First and last input sample that outputs [first, first + count) start at.
struct Starts {
  uint32_t low, high;
};

Starts startsOf(const FilterBank& filter, uint32_t first, uint32_t count) {
  first = std::min(first, filter.dstSize() - 1);
  const uint32_t end = std::min(first + count, filter.dstSize());
  Starts starts{filter.start(first), filter.start(first)};
  for (uint32_t i = first + 1; i < end; ++i) {
    starts.low = std::min(starts.low, filter.start(i));
    starts.high = std::max(starts.high, filter.start(i));
  }
  return starts;
}

/// Whether every unit of `outputs` pixels finds `taps` neighbouring samples of each within its own bytes.
bool fits(const FilterBank& filter, uint32_t components, uint32_t unitBytes, uint32_t outputs,
          uint32_t taps) {
  for (uint32_t first = 0; first < filter.dstSize(); first += outputs) {
    const Starts starts = startsOf(filter, first, outputs);
    if ((starts.high - starts.low + taps) * components > unitBytes) return false;
  }
  return true;
}

bool sameOffsetsShifted(const GatherRun& a, const GatherRun& b, uint32_t shift, uint32_t steps,
                        uint32_t units) {
  for (uint32_t s = 0; s < steps; ++s) {
    for (uint32_t u = 0; u < units; ++u) {
      if (a.offset[s][u] + shift != b.offset[s][u]) return false;
    }
  }
  return true;
}

}  // namespace

bool GatherPlan::build(const FilterBank& filter, uint32_t components, uint32_t vectorBytes,
                       uint32_t unitBytes) {
  runs_ = tableCount_ = 0;
  if (unitBytes == 0 || !filter.isShort() || filter.srcSize() * components < unitBytes) return true;
  components_ = components;
  vectorBytes_ = vectorBytes;
  unitBytes_ = unitBytes;
  const auto unitFits = [&](uint32_t tapsPerStep, uint32_t taps) {
    return fits(filter, components, unitBytes, unitBytes / tapsPerStep / components, taps);
  };
  tapsPerStep_ = filter.taps() <= 8 && unitFits(2, 2) ? 2 : 4;
  if (tapsPerStep_ == 4 && !unitFits(4, 4)) return true;
  steps_ = (filter.taps() + tapsPerStep_ - 1) / tapsPerStep_;
  if (steps_ > kMaxSteps) return true;
  sharedWindow_ = unitFits(tapsPerStep_, steps_ * tapsPerStep_);

  const uint32_t outputs = filter.dstSize() * components;
  const uint32_t blocks = (outputs + outputsPerBlock() - 1) / outputsPerBlock();
  if (!runList_.allocate(blocks * sizeof(GatherRun)) || !tables_.allocate((blocks + 1) * tableBytes()))
    return false;
  for (uint32_t i = 0; i < blocks; ++i) appendBlock(filter, i * outputsPerBlock());
  return true;
}

/// Adds a block to the last run where it has the same table and a regular distance, else opens a run.
void GatherPlan::appendBlock(const FilterBank& filter, uint32_t firstOutput) {
  auto* runs = runList_.as<GatherRun>();
  uint8_t* fresh = tables_.as<uint8_t>() + tableCount_ * tableBytes();
  GatherRun block{1, 0, tableCount_, {}};
  fillBlock(filter, firstOutput, fresh, block);
  const bool sameTable = runs_ != 0 && std::memcmp(fresh, fresh - tableBytes(), tableBytes()) == 0;
  if (sameTable) {
    GatherRun& last = runs[runs_ - 1];
    const uint32_t step = last.blocks == 1 ? block.offset[0][0] - last.offset[0][0] : last.sourceStep;
    if (sameOffsetsShifted(last, block, last.blocks * step, steps_, vectorBytes_ / unitBytes_)) {
      last.sourceStep = step;
      ++last.blocks;
      return;
    }
    --block.table;
  } else {
    ++tableCount_;
  }
  runs[runs_++] = block;
}

void GatherPlan::fillBlock(const FilterBank& filter, uint32_t firstOutput, uint8_t* table,
                           GatherRun& run) const {
  const uint32_t outputs = filter.dstSize() * components_;
  const uint32_t rowBytes = filter.srcSize() * components_;
  const uint32_t unitOutputs = unitBytes_ / tapsPerStep_;
  std::memset(table, 0, tableBytes());
  for (uint32_t step = 0; step < steps_; ++step) {
    uint8_t* index = table + size_t{3} * step * vectorBytes_;
    uint8_t* high = index + vectorBytes_;
    uint8_t* low = high + vectorBytes_;
    for (uint32_t i = 0; i < vectorBytes_; ++i) {
      const uint32_t output = firstOutput + i / tapsPerStep_;
      const uint32_t tap = step * tapsPerStep_ + i % tapsPerStep_;
      const uint32_t unit = i / unitBytes_;
      if (i % unitBytes_ == 0) {
        const uint32_t pixel = (firstOutput + unit * unitOutputs) / components_;
        const uint32_t first = startsOf(filter, pixel, unitOutputs / components_).low;
        const uint32_t wanted = (first + (sharedWindow_ ? 0 : step * tapsPerStep_)) * components_;
        run.offset[step][unit] = std::min(wanted, rowBytes - unitBytes_);
      }
      if (output >= outputs || tap >= filter.taps()) continue;
      const int weight = filter.weights(output / components_)[tap];
      const int highPart = (weight + (1 << (kLowBits - 1))) >> kLowBits;
      const uint32_t source = (filter.start(output / components_) + tap) * components_ + output % components_;
      index[i] = static_cast<uint8_t>(source - run.offset[step][unit]);
      high[i] = static_cast<uint8_t>(highPart);
      low[i] = static_cast<uint8_t>(weight - (highPart << kLowBits));
    }
  }
}

}  // namespace qvs::ucc
