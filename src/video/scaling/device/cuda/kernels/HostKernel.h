#pragma once

// The host form of kernels: what an emulated driver finds them and runs them by. One thread at a time runs kernels.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace qvs {

struct HostThread {
  int x;
  int y;
};

/// Which thread of the grid is being run.
inline HostThread hostThread;

struct HostGrid {
  unsigned gridX, gridY, blockX, blockY;
};

/// Gives the memory behind a device pointer, null where there is none.
using HostTranslate = void* (*)(uint64_t devicePointer);

struct HostKernel {
  const char* name;
  /// False where a pointer among the parameters is none of the device's.
  bool (*launch)(void* const* parameters, const HostGrid& grid, HostTranslate translate);
  const size_t* parameterSizes;
  size_t parameterCount;
};

struct HostConstant {
  const char* name;
  void* data;
  size_t bytes;
};

inline std::vector<HostKernel>& hostKernels() {
  static std::vector<HostKernel> kernels;
  return kernels;
}

inline std::vector<HostConstant>& hostConstants() {
  static std::vector<HostConstant> constants;
  return constants;
}

struct HostKernelRegistration {
  explicit HostKernelRegistration(const HostKernel& kernel) { hostKernels().push_back(kernel); }
};

struct HostConstantRegistration {
  explicit HostConstantRegistration(const HostConstant& constant) { hostConstants().push_back(constant); }
};

template <auto kernel>
struct HostKernelLaunch;

template <typename... Parameters, void (*kernel)(Parameters...)>
struct HostKernelLaunch<kernel> {
  static HostKernel describe(const char* name) {
    static constexpr size_t sizes[] = {sizeof(Parameters)...};
    return {name, &launch, sizes, sizeof...(Parameters)};
  }

  static bool launch(void* const* parameters, const HostGrid& grid, HostTranslate translate) {
    return run(parameters, grid, translate, std::index_sequence_for<Parameters...>());
  }

 private:
  template <typename Parameter>
  static Parameter take(const void* from, HostTranslate translate, bool& ok) {
    if constexpr (std::is_pointer_v<Parameter>) {
      uint64_t pointer = 0;
      std::memcpy(&pointer, from, sizeof(pointer));
      void* memory = pointer != 0 ? translate(pointer) : nullptr;
      ok = ok && (pointer == 0 || memory != nullptr);
      return static_cast<Parameter>(memory);
    } else {
      Parameter value;
      std::memcpy(&value, from, sizeof(value));
      return value;
    }
  }

  template <size_t... index>
  static bool run(void* const* parameters, const HostGrid& grid, HostTranslate translate,
                  std::index_sequence<index...>) {
    bool ok = true;
    const std::tuple<Parameters...> values{take<Parameters>(parameters[index], translate, ok)...};
    if (!ok) return false;
    // Backwards: a kernel that leans on the order of its threads shows.
    for (hostThread.y = static_cast<int>(grid.gridY * grid.blockY) - 1; hostThread.y >= 0; --hostThread.y) {
      for (hostThread.x = static_cast<int>(grid.gridX * grid.blockX) - 1; hostThread.x >= 0; --hostThread.x) {
        kernel(std::get<index>(values)...);
      }
    }
    return true;
  }
};

}  // namespace qvs
