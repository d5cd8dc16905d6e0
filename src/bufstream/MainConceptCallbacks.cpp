// Memory and log callbacks that the stream codecs are given.
#include "bufstream/MainConceptCallbacks.h"

#include <cstdarg>
#include <cstdlib>

namespace qvs {

std::FILE* enc_stat_file = nullptr;

namespace {

// Zero-filled: the libraries count on it.
void* mem_alloc(size_t size) {
  return std::calloc(1, size);
}

void mem_free(void* block) {
  std::free(block);
}

void* mem_realloc(void* block, size_t size) {
  return std::realloc(block, size);
}

template <size_t Size>
void printLine(const char* format, va_list arguments) {
  char line[Size];
  std::vsnprintf(line, sizeof(line), format, arguments);
  std::printf("%s\n", line);
}

void info_printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  printLine<1024>(format, arguments);
  va_end(arguments);
}

void warn_printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  printLine<2048>(format, arguments);
  va_end(arguments);
}

void error_printf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  printLine<2048>(format, arguments);
  va_end(arguments);
}

void progress_printf(int32_t percent, const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  std::printf(" %d - %s\n", percent, line);
}

void statistics_printf(const char* format, ...) {
  if (enc_stat_file == nullptr) return;
  std::fseek(enc_stat_file, 0, SEEK_END);
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(enc_stat_file, format, arguments);
  va_end(arguments);
  std::fputc('\n', enc_stat_file);
  std::fflush(enc_stat_file);
}

}  // namespace

void init_callbacks(mc_callbacks_t& callbacks) {
  callbacks = {};
  callbacks.malloc = mem_alloc;
  callbacks.free = mem_free;
  callbacks.realloc = mem_realloc;
  callbacks.inf_printf = info_printf;
  callbacks.wrn_printf = warn_printf;
  callbacks.err_printf = error_printf;
  callbacks.prg_printf = progress_printf;
  callbacks.stat_printf = statistics_printf;
}

}  // namespace qvs
