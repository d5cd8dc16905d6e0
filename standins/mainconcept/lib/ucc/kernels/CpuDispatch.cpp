// Chooses between the forms of the kernels.
#include "CpuDispatch.h"

#include <atomic>

#include "KernelTable.h"

namespace qvs::ucc {
namespace {

std::atomic<uint32_t> g_mask{~0u};

KernelTable makeTable(CpuLevel level) {
  KernelTable table{};
  addPlainScaler(table);
  addPlainBgraTo420(table);
  addPlainV210To420(table);
  addPlainBlend(table);
  addPlainTranspose(table);
#if defined(__x86_64__)
  if (level >= CpuLevel::kAvx2) {
    addAvx2Scaler(table);
    addAvx2BgraTo420(table);
    addAvx2V210To420(table);
    addAvx2Blend(table);
    addAvx2Transpose(table);
  }
  if (level >= CpuLevel::kAvx512) {
    addAvx512Scaler(table);
    addAvx512BgraTo420(table);
    addAvx512Blend(table);
    addAvx512Transpose(table);
  }
#else
  static_cast<void>(level);
#endif
  return table;
}

}  // namespace

CpuLevel detectedCpuLevel() {
#if defined(__x86_64__)
  if (!__builtin_cpu_supports("avx2")) return CpuLevel::kPlain;
  const bool wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                    __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
                    __builtin_cpu_supports("avx512vnni");
  return wide ? CpuLevel::kAvx512 : CpuLevel::kAvx2;
#else
  return CpuLevel::kPlain;
#endif
}

void setCpuLevelMask(uint32_t mask) {
  g_mask.store(mask, std::memory_order_relaxed);
}

const KernelTable& kernels() {
  static const KernelTable tables[kCpuLevels] = {makeTable(CpuLevel::kPlain), makeTable(CpuLevel::kAvx2),
                                                 makeTable(CpuLevel::kAvx512)};
  static const int detected = static_cast<int>(detectedCpuLevel());
  const uint32_t mask = g_mask.load(std::memory_order_relaxed);
  int level = detected;
  while (level > 0 && (mask >> level & 1) == 0) --level;
  return tables[level];
}

}  // namespace qvs::ucc
