#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "common/CallTimes.h"
#include "common/CodedFrame.h"
#include "common/CountingAllocator.h"
#include "common/Pattern.h"
#include "encoder/EncoderUnderTest.h"

namespace qvs::validator {

/// What a session of a check is set to.
struct RunSettings {
  uint32_t width = 160;  ///< cards may refuse narrower ones
  uint32_t height = 96;
  uint32_t slack = 0;  ///< bytes of a row beyond the width
  uint32_t bitRate = 1'000'000;
  uint32_t keyEvery = 10;  ///< pictures; a key frame is asked for at each of them
  uint64_t firstTimecode = 1000;
  uint32_t seed = 1;
  bool keyFrameFollow = false;
};

/// One session of a plug-in, driven as the transcoder drives it. Pictures can only be read, and only during their call;
/// the output arrays end where they end; bytes come from the strict allocator. The first thing that is wrong stays in
/// `complaint`; after that calls do nothing.
class EncoderRun {
 public:
  static constexpr uint64_t kFrameTime = 40;
  static constexpr int32_t kGivenUp = 1;  ///< the status of calls behind a complaint

  EncoderRun(const EncoderUnderTest& subject, const RunSettings& settings = {});
  /// Destroys the session, should `close` not have been called.
  ~EncoderRun();
  EncoderRun(const EncoderRun&) = delete;
  EncoderRun& operator=(const EncoderRun&) = delete;

  /// Tells the settings and initializes; the status of what failed first.
  int32_t open(const RunSettings& changed);
  int32_t open() { return open(settings); }

  /// Adds a picture of the pattern. Gives the status, as all that follow.
  int32_t add(bool key);
  int32_t add() { return add(settings.keyEvery != 0 && index % settings.keyEvery == 0); }
  int32_t add(uint32_t pictures);
  /// Called until nothing comes.
  int32_t drain();
  /// Destroys the session; tells what it keeps.
  void close();

  /// A call that is timed and whose status is looked at; 0 where it is not offered.
  template <typename... Parameters, typename... Arguments>
  int32_t call(const char* name, int32_t (*entry)(void*, Parameters...), Arguments... arguments) {
    if (!complaint.empty()) return kGivenUp;
    if (entry == nullptr) return 0;
    const int32_t status = [&] {
      const CallTimes::Call call(times, name);
      return entry(session, arguments...);
    }();
    if (status < 0) complain(std::string(name) + " gives " + std::to_string(status) + ", which is no status");
    return status;
  }
#define QVS_VALIDATOR_CALL(run, name, ...) \
  (run).call(#name, (run).subject.table.func_##name __VA_OPT__(, ) __VA_ARGS__)

  /// What the plug-in says of its last failure.
  std::string problem();
  /// "status 22 (words)", or the complaint where there is one.
  std::string statusText(int32_t status);
  void complain(std::string what) {
    if (complaint.empty()) complaint = std::move(what);
  }

  /// Empty where every picture since the last `open` is answered once, in order of decoding, key where asked.
  std::string wrongAnswers() const;
  /// And where the frames are well formed and decode to what went in.
  std::string wrongStream() const;

  const EncoderUnderTest& subject;
  RunSettings settings;
  CountingAllocator allocator;
  void* session = nullptr;
  std::vector<CodedFrame> frames;  ///< since the last `open`
  std::string complaint;
  CallTimes times;

 private:
  struct Asked {
    int64_t time;
    bool key;
  };

  int32_t addBlock(GuardedBytes& block, uint32_t frameType);
  int32_t addRecord(GuardedBytes& block, uint32_t frameType);
  void resetArrays();
  void takeArrays(int32_t status);
  void take(void* array, CodedFrame frame, uint32_t size);

  GuardedBytes arrays[5];
  GuardedBytes counter;
  uint32_t index = 0;  // of the next picture since `open`
  std::vector<Asked> asked;
  std::deque<std::unique_ptr<GuardedBytes>> past;  // pictures of calls that have returned
};

}  // namespace qvs::validator
