// Lays out shuffle tables and joins equal blocks into runs.
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

bool GatherPlan::build(const FilterBank& filter, uint32_t interleaved, const GatherVector& of) {
  runCount = tableCount = 0;
  if (of.unitBytes == 0 || !filter.isShort() || filter.srcSize() * interleaved < of.unitBytes) return true;
  components = interleaved;
  vectorBytes = of.bytes;
  unitBytes = of.unitBytes;
  const auto unitFits = [&](uint32_t tapsPerStep, uint32_t taps) {
    return fits(filter, components, unitBytes, unitBytes / tapsPerStep / components, taps);
  };
  stepTaps = filter.taps() <= 8 && unitFits(2, 2) ? 2 : 4;
  if (stepTaps == 4 && !unitFits(4, 4)) return true;
  stepCount = (filter.taps() + stepTaps - 1) / stepTaps;
  if (stepCount > kMaxSteps) return true;
  oneWindow = unitFits(stepTaps, stepCount * stepTaps);

  const uint32_t outputs = filter.dstSize() * components;
  const uint32_t blocks = (outputs + outputsPerBlock() - 1) / outputsPerBlock();
  if (!runMemory.allocate(blocks * sizeof(GatherRun)) || !tableMemory.allocate((blocks + 1) * tableBytes()))
    return false;
  for (uint32_t i = 0; i < blocks; ++i) appendBlock(filter, i * outputsPerBlock());
  return true;
}

/// Adds a block to the last run where it has the same table and a regular distance, else opens a run.
void GatherPlan::appendBlock(const FilterBank& filter, uint32_t firstOutput) {
  auto* runs = runMemory.as<GatherRun>();
  uint8_t* fresh = tableMemory.as<uint8_t>() + tableCount * tableBytes();
  GatherRun block{1, 0, tableCount, {}};
  fillBlock(filter, firstOutput, fresh, block);
  const bool sameTable = runCount != 0 && std::memcmp(fresh, fresh - tableBytes(), tableBytes()) == 0;
  if (sameTable) {
    GatherRun& last = runs[runCount - 1];
    // Unsigned, but right for a negative step as well: the sums wrap round.
    const auto step =
        last.blocks == 1 ? block.offset[0][0] - last.offset[0][0] : static_cast<uint32_t>(last.sourceStep);
    if (sameOffsetsShifted(last, block, last.blocks * step, stepCount, vectorBytes / unitBytes)) {
      last.sourceStep = static_cast<int32_t>(step);
      ++last.blocks;
      return;
    }
    --block.table;
  } else {
    ++tableCount;
  }
  runs[runCount++] = block;
}

void GatherPlan::fillBlock(const FilterBank& filter, uint32_t firstOutput, uint8_t* table,
                           GatherRun& run) const {
  const uint32_t outputs = filter.dstSize() * components;
  const uint32_t rowBytes = filter.srcSize() * components;
  const uint32_t unitOutputs = unitBytes / stepTaps;
  std::memset(table, 0, tableBytes());
  for (uint32_t step = 0; step < stepCount; ++step) {
    uint8_t* index = table + size_t{3} * step * vectorBytes;
    uint8_t* high = index + vectorBytes;
    uint8_t* low = high + vectorBytes;
    for (uint32_t i = 0; i < vectorBytes; ++i) {
      const uint32_t output = firstOutput + i / stepTaps;
      const uint32_t tap = step * stepTaps + i % stepTaps;
      const uint32_t unit = i / unitBytes;
      if (i % unitBytes == 0) {
        const uint32_t pixel = (firstOutput + unit * unitOutputs) / components;
        const uint32_t first = startsOf(filter, pixel, unitOutputs / components).low;
        const uint32_t wanted = (first + (oneWindow ? 0 : step * stepTaps)) * components;
        run.offset[step][unit] = std::min(wanted, rowBytes - unitBytes);
      }
      if (output >= outputs || tap >= filter.taps()) continue;
      const int weight = filter.weights(output / components)[tap];
      const int highPart = (weight + (1 << (kLowBits - 1))) >> kLowBits;
      const uint32_t source = (filter.start(output / components) + tap) * components + output % components;
      index[i] = static_cast<uint8_t>(source - run.offset[step][unit]);
      high[i] = static_cast<uint8_t>(highPart);
      low[i] = static_cast<uint8_t>(weight - (highPart << kLowBits));
    }
  }
}

}  // namespace qvs::ucc
