# Kernels for cards: one source, compiled to PTX for the library and, with the tests, for the host.
find_program(QVS_CLANG NAMES clang++-14 REQUIRED)
set(QVS_PTX_FLAGS -x cuda --cuda-path=/nonexistent --cuda-device-only --cuda-gpu-arch=sm_70 -nocudainc -nocudalib
  -std=c++20 -O2 -ffp-contract=off -S -Wall -Wextra -Werror)

# qvs_add_ptx(TARGET MODULE SOURCE [HEADER ...]): adds `extern const char* const MODULE[]` to the target, the PTX of
# the kernels in SOURCE as pieces of text that end with an empty one.
function(qvs_add_ptx target module source)
  cmake_path(ABSOLUTE_PATH source)
  set(ptx ${CMAKE_CURRENT_BINARY_DIR}/${module}.ptx)
  set(text ${CMAKE_CURRENT_BINARY_DIR}/${module}.cpp)
  add_custom_command(OUTPUT ${text}
    COMMAND ${QVS_CLANG} ${QVS_PTX_FLAGS} -I${PROJECT_SOURCE_DIR}/src -MD -MF ${ptx}.d -MT ${text} -o ${ptx} ${source}
    COMMAND ${CMAKE_COMMAND} -DPTX=${ptx} -DTEXT=${text} -DMODULE=${module} -P ${PROJECT_SOURCE_DIR}/cmake/EmbedPtx.cmake
    DEPENDS ${source} ${PROJECT_SOURCE_DIR}/cmake/EmbedPtx.cmake
    DEPFILE ${ptx}.d
    COMMENT "PTX of ${module}")
  target_sources(${target} PRIVATE ${text})
  set_property(GLOBAL APPEND PROPERTY QVS_KERNEL_SOURCES ${source})
endfunction()

function(qvs_add_host_kernels)
  get_property(sources GLOBAL PROPERTY QVS_KERNEL_SOURCES)
  target_sources(qvs-host-kernels PRIVATE ${sources})
endfunction()

# qvs_use_emulated_gpu(TEST ...): those targets find the emulated driver where the machine's would be, as do the
# libraries that they open.
function(qvs_use_emulated_gpu)
  foreach(test ${ARGN})
    target_link_options(${test} PRIVATE -Wl,--disable-new-dtags -Wl,-rpath,${CMAKE_BINARY_DIR}/fakes/nvidia)
    add_dependencies(${test} qvs-fake-nvidia)
    set_property(TEST ${test} APPEND PROPERTY ENVIRONMENT LD_LIBRARY_PATH=${CMAKE_BINARY_DIR}/fakes/nvidia)
  endforeach()
endfunction()
