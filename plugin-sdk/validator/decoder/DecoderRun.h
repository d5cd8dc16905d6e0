#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "common/CallTimes.h"
#include "common/CountingAllocator.h"
#include "decoder/DecoderUnderTest.h"

namespace qvs::validator {

/// One session of a decoder plug-in, driven as the transcoder drives it. Coded bytes can only be read, and only until
/// the next unit; pictures are copied into memory of just their size. The first thing that is wrong stays in
/// `complaint`; after that calls do nothing.
class DecoderRun {
 public:
  explicit DecoderRun(const DecoderUnderTest& subject);
  ~DecoderRun();
  DecoderRun(const DecoderRun&) = delete;
  DecoderRun& operator=(const DecoderRun&) = delete;

  uint32_t open();
  /// The clip's record, or any other.
  uint32_t configure(const std::vector<uint8_t>& record);
  /// A unit and all the steps until it is used up. The first status that isn't 0.
  uint32_t add(const CodedFrame& frame);
  /// The steps behind the last unit.
  uint32_t flush();
  /// All of it. Empty, or what failed.
  std::string decodeClip();
  void close();

  /// A call that is timed; a zero where it is not offered.
  template <typename Result, typename... Parameters, typename... Arguments>
  Result call(const char* name, Result (*entry)(void*, Parameters...), Arguments... arguments) {
    if constexpr (!std::is_void_v<Result>) {
      if (entry == nullptr || !complaint.empty()) return Result{};
    } else if (entry == nullptr) {
      return;
    }
    const CallTimes::Call call(times, name);
    return entry(session, arguments...);
  }

  /// Empty where each picture of the clip came once, in order and as libavcodec has it.
  std::string wrongPictures() const;
  void complain(std::string what) {
    if (complaint.empty()) complaint = std::move(what);
  }

  const DecoderUnderTest& subject;
  CountingAllocator allocator;
  void* session = nullptr;
  std::vector<PlainPicture> pictures;
  std::string complaint;
  CallTimes times;

 private:
  uint32_t steps(bool flushing);
  void fetch();

  std::unique_ptr<GuardedBytes> unit;  // borrowed by the plug-in until the next one
};

#define QVS_DECODER_CALL(run, name, ...) \
  (run).call(#name, (run).subject.table.func_##name __VA_OPT__(, ) __VA_ARGS__)

}  // namespace qvs::validator
