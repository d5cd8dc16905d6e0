// The rules of an encoder plug-in's sessions: order of calls, failures, memory, threads.
#include <thread>

#include "common/LeakMeter.h"
#include "common/NullCalls.h"
#include "encoder/EncoderRun.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kFewPictures = 8;

std::string makesSessions(const EncoderUnderTest& subject) {
  EncoderRun first(subject), second(subject);
  for (EncoderRun* run : {&first, &second}) {
    if (!run->complaint.empty()) return run->complaint;
  }
  if (first.session == second.session) return "create gives the same session twice";
  if (subject.table.func_create(nullptr) == 0) return "create without a place for the session gives 0";
  second.close();
  first.close();
  return first.complaint + second.complaint;
}

// Every call but those that make and end sessions, on no session and on one in each state.
std::string survivesNulls(const EncoderUnderTest& subject) {
  const auto all = [&](void* session) {
#define CALL(name, needed, parameters) callOne(#name, subject.table.func_##name, session);
    const auto callOne = [](const char* name, auto entry, void* on) {
      if constexpr (std::is_invocable_v<decltype(entry), void*>) {
        if (std::string(name) == "destroy" && on != nullptr) return;
      }
      if constexpr (requires { callWithNulls(name, entry, on); }) callWithNulls(name, entry, on);
    };
    VIDEO_ENCODER_ENTRY_POINTS(CALL)
#undef CALL
  };
  all(nullptr);
  EncoderRun fresh(subject), opened(subject);
  const int32_t status = opened.open();
  if (status != 0) return "the settings of this check are refused: " + opened.statusText(status);
  all(fresh.session);
  all(opened.session);
  return {};
}

// A clean run in the session behind whatever came before.
std::string worksStill(EncoderRun& run) {
  if (const int32_t status = run.open(RunSettings{}); status != 0)
    return "cannot begin anew: " + run.statusText(status);
  if (const int32_t status = run.add(kFewPictures); status != 0)
    return "refuses pictures: " + run.statusText(status);
  run.drain();
  const std::string wrong = run.wrongAnswers();
  run.close();
  return wrong.empty() ? run.complaint : wrong;
}

std::string survivesAnyOrder(const EncoderUnderTest& subject) {
  EncoderRun run(subject);
  if (QVS_VALIDATOR_CALL(run, initialize) == 0 && subject.table.func_initialize != nullptr) {
    return "initialize without a frame size gives 0";
  }
  QVS_VALIDATOR_CALL(run, updateBitrate, 100'000u);
  if (run.add(true) == 0) return "a picture without initialize gives 0";
  run.drain();
  if (!run.frames.empty()) return "hands out frames and has had no picture";
  for (int twice = 0; twice < 2; ++twice) {
    if (const int32_t status = run.open(RunSettings{}); status != 0)
      return "cannot open: " + run.statusText(status);
  }
  run.add(3u);
  run.drain();
  if (subject.table.func_drain != nullptr && run.add(false) == 0) return "a picture behind drain gives 0";
  return worksStill(run);
}

// Pictures that can't be right, in a session that works.
std::string goesOnAfterRefusals(const EncoderUnderTest& subject) {
  EncoderRun run(subject);
  if (const int32_t status = run.open(); status != 0) return "cannot open: " + run.statusText(status);
  run.add(2u);
  const RunSettings good = run.settings;
  for (const auto& [width, height] : {std::pair{64u, 96u}, std::pair{160u, 48u}, std::pair{2u, 2u}}) {
    run.settings.width = width;
    run.settings.height = height;
    if (run.add(false) == 0) return "a picture of another size than was set gives 0";
    if (subject.table.func_getProblem != nullptr && run.problem().empty()) {
      return "getProblem has no words for a picture of another size than was set";
    }
  }
  run.settings = good;
  if (const int32_t status = run.add(kFewPictures); status != 0) {
    return "refuses good pictures behind bad ones: " + run.statusText(status);
  }
  run.drain();
  if (const std::string wrong = run.wrongAnswers(); !wrong.empty()) return wrong;
  return worksStill(run);
}

std::string leavesNothingBehind(const EncoderUnderTest& subject) {
  std::string wrong;
  int cycle = 0;
  // Some end with pictures inside, some in the middle of their settings.
  const std::string grown = whatGrows(
      [&] {
        EncoderRun run(subject);
        ++cycle;
        if (cycle % 3 != 0) {
          run.open();
          run.add(4u);
          if (cycle % 3 == 1) run.drain();
        }
        run.close();
        if (wrong.empty()) wrong = run.complaint;
      },
      subject.options.leak);
  return wrong.empty() ? grown : wrong;
}

Verdict survivesWithoutMemory(const EncoderUnderTest& subject) {
  constexpr uint64_t kMostCalls = 100;
  for (uint64_t number = 1; number <= kMostCalls; ++number) {
    EncoderRun run(subject);
    if (const int32_t status = run.open(); status != 0) return "cannot open: " + run.statusText(status);
    run.allocator.failAt(number);
    bool told = false;
    for (uint32_t i = 0; i < kFewPictures; ++i) told |= run.add() != 0;
    told |= run.drain() != 0;
    if (run.complaint.empty() && !told && run.allocator.hasFailed()) run.complain(run.wrongAnswers());
    run.close();
    const std::string when = " when call " + std::to_string(number) + " of the allocator fails";
    if (!run.complaint.empty()) return run.complaint + when;
    if (!run.allocator.hasFailed()) return {Verdict::kKept, std::to_string(number - 1) + " calls"};
  }
  return {};
}

std::string keepsSessionsApart(const EncoderUnderTest& subject) {
  constexpr uint32_t kSessions = 4;
  std::vector<std::unique_ptr<EncoderRun>> runs;
  std::vector<std::thread> threads;
  for (uint32_t i = 0; i < kSessions; ++i) {
    RunSettings settings;
    settings.width += 32 * i;
    settings.seed += i;
    settings.keyEvery -= 2 * i;
    settings.firstTimecode += 100'000 * i;
    runs.push_back(std::make_unique<EncoderRun>(subject, settings));
    threads.emplace_back([run = runs.back().get()] {
      if (const int32_t status = run->open(); status != 0)
        return run->complain("cannot open: " + run->statusText(status));
      if (const int32_t status = run->add(24u); status != 0)
        return run->complain("refuses: " + run->statusText(status));
      run->drain();
      run->close();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& run : runs) {
    const std::string wrong = run->wrongStream();
    if (!wrong.empty()) return "beside other sessions " + wrong;
  }
  return {};
}

}  // namespace

EncoderRules encoderSessionRules() {
  return {{"makes and destroys sessions", makesSessions},
          {"survives nulls in every call", survivesNulls},
          {"survives calls in any order", survivesAnyOrder},
          {"refuses wrong pictures and goes on", goesOnAfterRefusals},
          {"leaves nothing behind", leavesNothingBehind},
          {"survives an allocator without memory", survivesWithoutMemory},
          {"keeps sessions apart", keepsSessionsApart}};
}

}  // namespace qvs::validator
