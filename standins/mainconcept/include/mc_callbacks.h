// What a codec or converter library asks its host for: memory and somewhere to print. Pure data, C layout.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

/// Functions of the host; null ones are not called. Printers take printf's formats.
struct mc_callbacks_t {
  void* context;
  void* (*malloc)(size_t size);
  void (*free)(void* block);
  void* (*realloc)(void* block, size_t size);
  void* (*malloc_numa)(size_t size, int32_t node);
  void (*free_numa)(void* block);
  void (*err_printf)(const char* format, ...);
  void (*prg_printf)(int32_t percent, const char* format, ...);
  void (*wrn_printf)(const char* format, ...);
  void (*inf_printf)(const char* format, ...);
  void (*stat_printf)(const char* format, ...);
  void* reserved[16];
};
typedef mc_callbacks_t callbacks_t;
}
