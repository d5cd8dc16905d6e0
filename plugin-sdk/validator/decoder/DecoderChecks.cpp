// The rules of decoder plug-ins.
#include <thread>

#include "common/LeakMeter.h"
#include "common/NullCalls.h"
#include "decoder/DecoderRun.h"

namespace qvs::validator {
namespace {

std::string makesSessions(const DecoderUnderTest& subject) {
  DecoderRun first(subject), second(subject);
  if (!first.complaint.empty()) return first.complaint;
  if (first.session == second.session) return "create gives the same session twice";
  if (subject.table.func_create(nullptr) == 0) return "create without a place for the session gives 0";
  second.close();
  first.close();
  return first.complaint + second.complaint;
}

std::string survivesNulls(const DecoderUnderTest& subject) {
  const auto all = [&](void* session) {
    const auto callOne = [](const char* name, auto entry, void* on) {
      if (on != nullptr && std::string(name) == "destroy") return;
      if constexpr (requires { callWithNulls(name, entry, on); }) callWithNulls(name, entry, on);
    };
#define CALL(name, needed, result, parameters) callOne(#name, subject.table.func_##name, session);
    VIDEO_DECODER_ENTRY_POINTS(CALL)
#undef CALL
  };
  all(nullptr);
  DecoderRun fresh(subject), opened(subject);
  if (const uint32_t status = opened.open(); status != 0)
    return "initialize gives status " + std::to_string(status);
  all(fresh.session);
  all(opened.session);
  return {};
}

/// A rule that needs coded pictures.
template <std::string (*check)(const DecoderUnderTest&)>
Verdict withClip(const DecoderUnderTest& subject) {
  return subject.noClip.empty() ? Verdict(check(subject)) : Verdict(Verdict::kNotOffered, subject.noClip);
}

std::string decodesTheClip(const DecoderUnderTest& subject) {
  DecoderRun run(subject);
  std::string wrong = run.decodeClip();
  if (wrong.empty()) wrong = run.wrongPictures();
  run.close();
  return wrong.empty() ? run.complaint : wrong;
}

// Steps, pictures and units before initialize, and a second stream in the same session.
std::string survivesAnyOrder(const DecoderUnderTest& subject) {
  DecoderRun run(subject);
  run.flush();
  run.add(subject.clip.frames.front());
  if (!run.pictures.empty()) return "has a picture without initialize";
  for (int twice = 0; twice < 2; ++twice) {
    run.pictures.clear();
    std::string wrong = run.decodeClip();
    if (wrong.empty()) wrong = run.wrongPictures();
    if (!wrong.empty()) return (twice == 0 ? "behind calls out of order " : "begun anew ") + wrong;
    QVS_DECODER_CALL(run, close);
    QVS_DECODER_CALL(run, close);
  }
  run.close();
  return run.complaint;
}

// Units cut short, bytes turned over, none at all: statuses or damaged pictures, and then a good stream.
std::string survivesDamage(const DecoderUnderTest& subject) {
  DecoderRun run(subject);
  run.open();
  run.configure({});
  run.configure({1, 2, 3});
  run.configure(std::vector<uint8_t>(64, 0xFF));
  run.configure(subject.clip.config);
  uint32_t state = 12345;
  for (CodedFrame frame : subject.clip.frames) {
    state = state * 1103515245 + 12345;
    if (state >> 16 & 1) frame.bytes.resize(frame.bytes.size() * (state >> 20 & 7) / 8);
    for (size_t at = state >> 18 & 31; at < frame.bytes.size(); at += 61) frame.bytes[at] ^= 0x55;
    run.add(frame);
  }
  run.flush();
  if (!run.complaint.empty()) return run.complaint;
  run.close();
  if (!run.complaint.empty()) return run.complaint;
  return decodesTheClip(subject);
}

std::string leavesNothingBehind(const DecoderUnderTest& subject) {
  std::string wrong;
  int cycle = 0;
  const std::string grown = whatGrows(
      [&] {
        DecoderRun run(subject);
        if (++cycle % 3 != 0) run.open();
        if (cycle % 3 == 1) {
          run.configure(subject.clip.config);
          for (size_t i = 0; i < 4 && i < subject.clip.frames.size(); ++i) run.add(subject.clip.frames[i]);
        }
        run.close();
        if (wrong.empty()) wrong = run.complaint;
      },
      subject.options.leak);
  return wrong.empty() ? grown : wrong;
}

std::string keepsSessionsApart(const DecoderUnderTest& subject) {
  constexpr size_t kSessions = 4;
  std::vector<std::string> verdicts(kSessions);
  std::vector<std::thread> threads;
  for (std::string& verdict : verdicts) {
    threads.emplace_back([&verdict, &subject] { verdict = decodesTheClip(subject); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& verdict : verdicts) {
    if (!verdict.empty()) return "beside other sessions " + verdict;
  }
  return {};
}

Verdict takesTime(const DecoderUnderTest& subject) {
  if (!subject.noClip.empty()) return {Verdict::kNotOffered, subject.noClip};
  DecoderRun run(subject);
  const std::string wrong = run.decodeClip();
  run.close();
  return wrong.empty() ? Verdict(Verdict::kKept, "mean of a call" + run.times.text()) : Verdict(wrong);
}

}  // namespace

DecoderRules decoderRules() {
  return {{"makes and destroys sessions", makesSessions},
          {"survives nulls in every call", survivesNulls},
          {"decodes to what libavcodec does", withClip<decodesTheClip>},
          {"survives calls in any order", withClip<survivesAnyOrder>},
          {"survives damaged units", withClip<survivesDamage>},
          {"leaves nothing behind", withClip<leavesNothingBehind>},
          {"keeps sessions apart", withClip<keepsSessionsApart>},
          {"takes its time", takesTime}};
}

}  // namespace qvs::validator
