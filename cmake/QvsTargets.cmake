# Compile options that every target of this project shares, and the helper that declares a test.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(fmt REQUIRED)
pkg_check_modules(VPX REQUIRED IMPORTED_TARGET vpx)
pkg_check_modules(ZIMG REQUIRED IMPORTED_TARGET zimg)
# Headers only: the library opens them at run time.
pkg_check_modules(AVCODEC REQUIRED IMPORTED_TARGET libavcodec libavfilter libavutil)
pkg_check_modules(SWRESAMPLE REQUIRED IMPORTED_TARGET libswresample libavutil)
pkg_check_modules(X264 REQUIRED IMPORTED_TARGET x264)
pkg_check_modules(X265 REQUIRED IMPORTED_TARGET x265)
pkg_check_modules(VA REQUIRED IMPORTED_TARGET libva libva-drm)
pkg_check_modules(VA_X11 REQUIRED IMPORTED_TARGET libva libva-x11 x11)
pkg_check_modules(VPL REQUIRED IMPORTED_TARGET vpl)
pkg_check_modules(OPUS REQUIRED IMPORTED_TARGET opus)
pkg_check_modules(SPEEX REQUIRED IMPORTED_TARGET speex)
pkg_check_modules(VORBIS REQUIRED IMPORTED_TARGET vorbis vorbisenc ogg)
# Types of the vendor's interfaces; no library.
pkg_check_modules(FFNVCODEC REQUIRED IMPORTED_TARGET ffnvcodec)
find_library(YUV_LIBRARY yuv REQUIRED)
pkg_check_modules(RE2 REQUIRED IMPORTED_TARGET re2)

add_library(qvs-options INTERFACE)
target_compile_options(qvs-options INTERFACE -Wall -Wextra -fno-strict-aliasing)
target_compile_options(qvs-options INTERFACE
  "$<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor>")
# -Wrestrict of GCC 12 misfires on the concatenation of strings.
target_compile_options(qvs-options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(QVS_WERROR)
  target_compile_options(qvs-options INTERFACE -Werror)
endif()
if(QVS_SANITIZE)
  target_compile_options(qvs-options INTERFACE -fsanitize=${QVS_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(qvs-options INTERFACE -fsanitize=${QVS_SANITIZE})
  if(QVS_SANITIZE MATCHES undefined)
    target_compile_options(qvs-options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# What the sanitizer passes build: the tests labelled "outside", and those with threads.
add_custom_target(qvs-outside-tests)

# qvs_add_test(NAME SOURCES a.cpp ... [LIBS target ...] [LABELS label ...] [TIMEOUT seconds])
function(qvs_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE qvs-options ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  # What is tested is built as it ships; the test around it need not be.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT})
  if("outside" IN_LIST ARG_LABELS)
    add_dependencies(qvs-outside-tests ${name})
  endif()
endfunction()

# qvs_probe_codecs(TARGET): a clock around the codec libraries and a counting allocator, read through tests/support.
function(qvs_probe_codecs target)
  target_sources(${target} PRIVATE
    ${PROJECT_SOURCE_DIR}/tests/support/CodecProbe.cpp ${PROJECT_SOURCE_DIR}/tests/support/AllocationCounter.cpp)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE PkgConfig::VPX PkgConfig::X264 ${CMAKE_DL_LIBS})
  target_link_options(${target} PRIVATE
    LINKER:--wrap=vpx_codec_decode,--wrap=vpx_codec_get_frame,--wrap=vpx_codec_encode,--wrap=vpx_codec_get_cx_data
    LINKER:--wrap=x264_encoder_encode,--wrap=dlsym)
endfunction()

# qvs_add_product(DIRECTORY...): the target qvs-product, which is all targets of those directories but the tests'.
function(qvs_add_product)
  add_custom_target(qvs-product)
  set(directories ${ARGN})
  while(directories)
    list(POP_FRONT directories directory)
    cmake_path(ABSOLUTE_PATH directory)
    cmake_path(GET directory FILENAME name)
    if(NOT name STREQUAL "tests")
      get_property(inner DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
      list(APPEND directories ${inner})
      get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
      if(targets)
        add_dependencies(qvs-product ${targets})
      endif()
    endif()
  endwhile()
endfunction()
