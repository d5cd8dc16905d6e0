// What a fake has open, and the line about it at the end.
#include "OpenCounts.h"

#include <cstdio>
#include <cstdlib>

namespace qvs::fakes {

OpenCounts::~OpenCounts() {
  const char* path = std::getenv("QVS_FAKE_REPORT");
  std::FILE* file = path != nullptr ? std::fopen(path, "a") : nullptr;
  if (file == nullptr) return;
  std::fprintf(file, "%s\n", text().c_str());
  std::fclose(file);
}

void OpenCounts::opened(const char* kind) {
  const std::lock_guard hold(lock);
  ++kinds[kind].opened;
}

void OpenCounts::closed(const char* kind) {
  const std::lock_guard hold(lock);
  ++kinds[kind].closed;
}

int64_t OpenCounts::live() {
  const std::lock_guard hold(lock);
  int64_t sum = 0;
  for (const auto& [kind, pair] : kinds) sum += pair.opened - pair.closed;
  return sum;
}

int64_t OpenCounts::live(const char* kind) {
  const std::lock_guard hold(lock);
  return kinds[kind].opened - kinds[kind].closed;
}

std::string OpenCounts::text() {
  const std::lock_guard hold(lock);
  std::string out = std::string(fake) + ":";
  for (const auto& [kind, pair] : kinds) {
    out += " " + kind + " " + std::to_string(pair.opened) + "/" + std::to_string(pair.closed);
  }
  return out;
}

}  // namespace qvs::fakes
