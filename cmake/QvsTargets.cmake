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
# Everywhere, or what is precompiled without it would not be taken with it.
target_compile_options(qvs-options INTERFACE -pthread)
target_compile_options(qvs-options INTERFACE -Wall -Wextra -fno-strict-aliasing)
target_compile_options(qvs-options INTERFACE
  "$<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor>")
# -Wrestrict of GCC 12 misfires on the concatenation of strings.
target_compile_options(qvs-options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(QVS_WERROR)
  target_compile_options(qvs-options INTERFACE -Werror)
endif()
# Without it ccache can't tell what a source takes from the precompiled headers.
if(QVS_PRECOMPILE_HEADERS)
  target_compile_options(qvs-options INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fpch-preprocess>)
endif()
if(QVS_SANITIZE)
  target_compile_options(qvs-options INTERFACE -fsanitize=${QVS_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(qvs-options INTERFACE -fsanitize=${QVS_SANITIZE})
  if(QVS_SANITIZE MATCHES thread)
    # GCC 12 takes copies of short strings for overflows there, once their header is precompiled.
    target_compile_options(qvs-options INTERFACE
      $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-array-bounds>
      $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-stringop-overflow>)
  endif()
  if(QVS_SANITIZE MATCHES undefined)
    target_compile_options(qvs-options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# What the sanitizer passes build: the tests labelled "outside", and those with threads.
add_custom_target(qvs-outside-tests)
add_custom_target(qvs-threads-tests)

# qvs_test_program(TARGET): the options of a test program. What is tested is built as it ships; the test around it need
# not be fast, nor does its own arithmetic need a watcher.
function(qvs_test_program name)
  target_link_libraries(${name} PRIVATE qvs-options GTest::gmock)
  # GCC 12 takes copies of short strings for overflows once their header is precompiled.
  target_compile_options(${name} PRIVATE "$<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow>")
  if(QVS_SANITIZE)
    target_compile_options(${name} PRIVATE -O0 -fno-sanitize=undefined)
  else()
    target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  endif()
endfunction()

# Google Test's headers, which are most of what a test's compiler reads, compiled once.
function(qvs_precompile_tests)
  find_package(GTest REQUIRED)
  file(WRITE ${CMAKE_BINARY_DIR}/precompiled-tests.cpp "")
  add_library(qvs-precompiled-tests OBJECT ${CMAKE_BINARY_DIR}/precompiled-tests.cpp)
  qvs_test_program(qvs-precompiled-tests)
  # As for a program, which the compiler takes for another kind of code than a library's.
  set_target_properties(qvs-precompiled-tests PROPERTIES POSITION_INDEPENDENT_CODE OFF)
  target_compile_options(qvs-precompiled-tests PRIVATE -fPIE -fpch-preprocess)
  set(headers gmock/gmock.h gtest/gtest.h algorithm chrono filesystem fstream random thread)
  list(TRANSFORM headers REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  target_precompile_headers(qvs-precompiled-tests PRIVATE ${headers})
endfunction()

# qvs_add_test(NAME SOURCES a.cpp ... [LIBS target ...] [LABELS label ...] [TIMEOUT seconds])
function(qvs_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  qvs_test_program(${name})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest_main)
  if(TARGET qvs-precompiled-tests)
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
    target_precompile_headers(${name} REUSE_FROM qvs-precompiled-tests)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT})
  foreach(label outside threads)
    if("${label}" IN_LIST ARG_LABELS)
      add_dependencies(qvs-${label}-tests ${name})
    endif()
  endforeach()
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

# The headers of the standard library that most sources read, compiled once for all libraries. Sources with options of
# their own, and programs, whose code isn't made for libraries, read them as they are: the compiler would refuse.
function(qvs_precompile_headers target)
  if(NOT TARGET qvs-precompiled)
    file(WRITE ${CMAKE_BINARY_DIR}/precompiled.cpp "")
    add_library(qvs-precompiled OBJECT ${CMAKE_BINARY_DIR}/precompiled.cpp)
    target_link_libraries(qvs-precompiled PRIVATE qvs-options)
    set(headers algorithm array atomic cmath cstdint cstdio cstdlib cstring functional memory mutex optional span string
      string_view utility vector)
    list(TRANSFORM headers REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
    target_precompile_headers(qvs-precompiled PRIVATE ${headers})
  endif()
  get_target_property(type ${target} TYPE)
  if(NOT type MATCHES "(STATIC|SHARED|MODULE|OBJECT)_LIBRARY")
    return()
  endif()
  target_precompile_headers(${target} REUSE_FROM qvs-precompiled)
  get_target_property(sources ${target} SOURCES)
  get_target_property(folder ${target} SOURCE_DIR)
  foreach(source ${sources})
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder})
    get_source_file_property(own ${source} TARGET_DIRECTORY ${target} COMPILE_OPTIONS)
    if(own)
      set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
  endforeach()
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
        if(QVS_PRECOMPILE_HEADERS)
          foreach(target ${targets})
            qvs_precompile_headers(${target})
          endforeach()
        endif()
      endif()
    endif()
  endwhile()
endfunction()
