#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace qvs::fakes {

/// How many of each kind of thing a fake has opened and closed. With the environment variable QVS_FAKE_REPORT a line
/// is added to that file when the fake is unloaded or the process ends: "fake: context 2/2 surface 8/8".
class OpenCounts {
 public:
  explicit OpenCounts(const char* name) : fake(name) {}
  ~OpenCounts();

  void opened(const char* kind);
  void closed(const char* kind);
  int64_t live();  ///< of all kinds
  int64_t live(const char* kind);
  std::string text();

 private:
  struct Pair {
    int64_t opened = 0;
    int64_t closed = 0;
  };
  const char* fake;
  std::mutex lock;
  std::map<std::string, Pair, std::less<>> kinds;
};

}  // namespace qvs::fakes
