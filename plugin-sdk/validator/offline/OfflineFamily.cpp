// Off-line plug-ins: what they are known by, and the rules that hold for them.
#include <thread>

#include "common/CodecRow.h"
#include "common/LeakMeter.h"
#include "common/NullCalls.h"
#include "common/PluginLibrary.h"
#include "offline/OfflineBatch.h"

namespace qvs::validator {
namespace {

constexpr const char* kPrefix = "zarvoVODTranscoder_";

std::string statusText(const char* what, int32_t status) {
  return std::string(what) + " gives status " + std::to_string(status);
}

Identity identify(const std::string&, void* library) {
  pluginVODTranscoder plugin;
  const bool complete = vodTranscoderResolve(&plugin, findSymbol, library, kPrefix) != 0;
  Identity identity;
#define LIST(name, needed, parameters)             \
  identity.isOne |= plugin.func_##name != nullptr; \
  identity.listing += listingLine(kPrefix, #name, plugin.func_##name != nullptr, needed);
  VOD_TRANSCODER_ENTRY_POINTS(LIST)
#undef LIST
  uint32_t major = 0, minor = 0;
  if (!complete) {
    identity.wrong = "is not an off-line plug-in: a needed entry point is missing";
  } else if (plugin.func_setAllocator2 == nullptr && plugin.func_setAllocator == nullptr) {
    identity.wrong = "gives nothing back: setAllocator2 is needed for any use";
  } else if (plugin.func_getVersion != nullptr) {
    const int32_t status = plugin.func_getVersion(nullptr, 0, &major, &minor);
    if (status != 0)
      identity.wrong = "does not work on this machine: getVersion gives " + std::to_string(status);
  }
  identity.codecs = {kH264};
  return identity;
}

std::string makesSessions(const OfflineUnderTest& subject) {
  OfflineBatch first(subject), second(subject);
  if (!first.complaint.empty()) return first.complaint;
  if (first.session == second.session) return "create gives the same session twice";
  if (subject.table.func_create(nullptr) == 0) return "create without a place for the session gives 0";
  second.close();
  first.close();
  return first.complaint + second.complaint;
}

std::string survivesNulls(const OfflineUnderTest& subject) {
  OfflineBatch batch(subject);
  for (void* session : {static_cast<void*>(nullptr), batch.session}) {
    const auto callOne = [&](const char* name, auto entry) {
      if (session != nullptr && std::string(name) == "destroy") return;
      if constexpr (requires { callWithNulls(name, entry, session); }) callWithNulls(name, entry, session);
    };
#define CALL(name, needed, parameters) callOne(#name, subject.table.func_##name);
    VOD_TRANSCODER_ENTRY_POINTS(CALL)
#undef CALL
  }
  return {};
}

std::string transcodesTheClip(const OfflineUnderTest& subject) {
  OfflineBatch batch(subject);
  if (!batch.complaint.empty()) return batch.complaint;
  if (const int32_t status = batch.transcode(subject.clip.frames); status != 0)
    return statusText("transcode", status);
  std::string wrong = batch.complaint.empty() ? batch.wrongPictures() : batch.complaint;
  batch.close();
  return wrong.empty() ? batch.complaint : wrong;
}

// More pictures than there is room for would be written over what lies behind.
std::string keepsToTheRoom(const OfflineUnderTest& subject) {
  OfflineBatch batch(subject);
  batch.transcode(subject.clip.frames, 3);
  batch.close();
  return batch.complaint;
}

std::string survivesDamage(const OfflineUnderTest& subject) {
  std::vector<CodedFrame> frames = subject.clip.frames;
  uint32_t state = 12345;
  for (CodedFrame& frame : frames) {
    state = state * 1103515245 + 12345;
    if (state >> 16 & 1) frame.bytes.resize(frame.bytes.size() * (state >> 20 & 7) / 8);
    for (size_t at = state >> 18 & 31; at < frame.bytes.size(); at += 61) frame.bytes[at] ^= 0x55;
  }
  OfflineBatch batch(subject);
  batch.transcode(frames);
  batch.close();
  if (!batch.complaint.empty()) return batch.complaint;
  OfflineBatch empty(subject);
  empty.transcode({});
  if (empty.told != 0) return "makes pictures of nothing";
  empty.close();
  if (!empty.complaint.empty()) return empty.complaint;
  return transcodesTheClip(subject);
}

// Whichever array can't be had: the batch fails, and nothing of it stays.
std::string survivesNoMemory(const OfflineUnderTest& subject) {
  for (const uint64_t failing : {1, 2, 7}) {
    OfflineBatch batch(subject);
    batch.allocator.failAt(failing);
    const int32_t status = batch.transcode(subject.clip.frames);
    if (!batch.allocator.hasFailed()) break;
    if (status == 0 && batch.made.size() == subject.clip.frames.size())
      return "counts a picture whose array it didn't get";
    batch.close();
    if (!batch.complaint.empty()) return "without an array: " + batch.complaint;
  }
  return {};
}

Verdict tellsItsSets(const OfflineUnderTest& subject) {
  if (subject.table.func_getCodecConfig == nullptr) return {Verdict::kNotOffered, "getCodecConfig"};
  OfflineBatch batch(subject), coded(subject);
  std::vector<uint8_t> sets;
  if (const int32_t status = batch.configure(sets); status != 0) return statusText("getCodecConfig", status);
  bool framed = forEachUnit(sets, [&](Bytes) {});
  if (!framed || sets.empty()) return std::string("getCodecConfig gives no units behind their lengths");
  coded.transcode(subject.clip.frames);
  batch.close();
  coded.close();
  return batch.complaint + coded.complaint;
}

std::string leavesNothingBehind(const OfflineUnderTest& subject) {
  std::string wrong;
  const std::vector<CodedFrame> some(subject.clip.frames.begin(), subject.clip.frames.begin() + 4);
  const std::string grown = whatGrows(
      [&] {
        OfflineBatch batch(subject);
        batch.transcode(some);
        batch.close();
        if (wrong.empty()) wrong = batch.complaint;
      },
      subject.options.leak);
  return wrong.empty() ? grown : wrong;
}

std::string keepsSessionsApart(const OfflineUnderTest& subject) {
  std::vector<std::string> verdicts(3);
  std::vector<std::thread> threads;
  for (std::string& verdict : verdicts)
    threads.emplace_back([&verdict, &subject] { verdict = transcodesTheClip(subject); });
  for (std::thread& thread : threads) thread.join();
  for (const std::string& verdict : verdicts)
    if (!verdict.empty()) return "beside other sessions " + verdict;
  return {};
}

template <auto check>
Verdict withClip(const OfflineUnderTest& subject) {
  return subject.noClip.empty() ? Verdict(check(subject)) : Verdict(Verdict::kNotOffered, subject.noClip);
}

std::vector<Check> checks(const Options& options, uint32_t codec) {
  std::vector<Rule<OfflineUnderTest>> rules = {{"makes and destroys sessions", withClip<makesSessions>},
                                               {"survives nulls in every call", withClip<survivesNulls>},
                                               {"transcodes a batch whole", withClip<transcodesTheClip>},
                                               {"keeps to the room for its frames", withClip<keepsToTheRoom>},
                                               {"survives damaged units", withClip<survivesDamage>},
                                               {"survives that memory runs out", withClip<survivesNoMemory>},
                                               {"tells its parameter sets", withClip<tellsItsSets>},
                                               {"leaves nothing behind", withClip<leavesNothingBehind>},
                                               {"keeps sessions apart", withClip<keepsSessionsApart>}};
  std::vector<Check> all;
  append(all, std::move(rules), [options, codec] {
    constexpr uint32_t kWidth = 192, kHeight = 128, kPictures = 25;
    OfflineUnderTest subject;
    std::string error;
    vodTranscoderResolve(&subject.table, findSymbol, openLibrary(options.file, error), kPrefix);
    subject.options = options;
    subject.clip = options.input.empty() ? makeClip(codec, kWidth, kHeight, kPictures, subject.noClip)
                                         : readClip(options.input, subject.noClip);
    if (subject.noClip.empty() && subject.clip.codec != kH264) subject.noClip = "an --input of H.264";
    if (subject.noClip.empty()) subject.wanted = decodeForReference(subject.clip, subject.noClip);
    if (subject.noClip.empty() && subject.wanted.size() < 4) subject.noClip = "a clip with pictures";
    return subject;
  });
  return all;
}

}  // namespace

const Family kOfflineFamily{"off-line", identify, checks};

}  // namespace qvs::validator
