#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace qvs::bench {

struct FileClose {
  void operator()(FILE* file) const { fclose(file); }
};
using FileHandle = std::unique_ptr<FILE, FileClose>;

/// One line on standard error, then the program's end.
[[noreturn]] void failOnFile(const std::string& path, const char* what);

}  // namespace qvs::bench
