#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "common/CheckRunner.h"

namespace qvs::validator {

/// The entry points about a plug-in's version and keys, which encoders and decoders have alike.
struct KeyEntryPoints {
  int32_t (*getVersion)(uint8_t*, uint32_t, uint32_t*, uint32_t*);
  int32_t (*describe)(char*, uint32_t, uint32_t*);
  int32_t (*create)(void**);
  int32_t (*destroy)(void*);
  int32_t (*type)(void*, uint32_t, uint32_t*);
  int32_t (*setLong)(void*, uint32_t, int64_t);
  int32_t (*getLong)(void*, uint32_t, int64_t*);
  int32_t (*setDouble)(void*, uint32_t, double);
  int32_t (*getDouble)(void*, uint32_t, double*);
  int32_t (*problem)(void*, char*, uint32_t);
};

template <typename Table>
KeyEntryPoints keyEntryPoints(const Table& table) {
  return {table.func_getVersion,
          table.func_describe,
          table.func_create,
          table.func_destroy,
          table.func_getParameterValueType,
          table.func_setParameterValueLong,
          table.func_getParameterValueLong,
          table.func_setParameterValueDouble,
          table.func_getParameterValueDouble,
          table.func_getProblem};
}

Verdict tellsItsVersion(const KeyEntryPoints& plugin);
Verdict describesItself(const KeyEntryPoints& plugin);
Verdict keepsItsKeys(const KeyEntryPoints& plugin);

/// The codecs of the description, or of the file's name where there is none: numbers of CodecRow.
std::vector<uint32_t> codecsOf(const KeyEntryPoints& plugin, const std::string& file);

}  // namespace qvs::validator
