// The rules of what an encoder plug-in makes of pictures.
#include <cstdio>

#include "common/CodecRow.h"
#include "encoder/EncoderRun.h"

namespace qvs::validator {
namespace {

constexpr uint32_t kPictures = 25;

// A whole stream. Empty, or what failed.
std::string encode(EncoderRun& run, uint32_t pictures = kPictures) {
  if (const int32_t status = run.open(); status != 0) return "cannot open: " + run.statusText(status);
  if (const int32_t status = run.add(pictures); status != 0)
    return "refuses a picture: " + run.statusText(status);
  if (const int32_t status = run.drain(); status != 0) return "drain gives " + run.statusText(status);
  return run.complaint;
}

std::string wrongStreamOf(const EncoderUnderTest& subject, const RunSettings& settings) {
  EncoderRun run(subject, settings);
  if (const std::string wrong = encode(run); !wrong.empty()) return wrong;
  const std::string wrong = run.wrongStream();
  run.close();
  return wrong.empty() ? run.complaint : wrong;
}

bool write(const EncoderRun& run, const std::string& name) {
  FILE* file = fopen(name.c_str(), "wb");
  if (file == nullptr) return false;
  bool whole = true;
  for (const CodedFrame& frame : run.frames) {
    const auto bytes = codecRow(run.subject.codec).hasUnits ? lengthsToStartCodes(frame.bytes) : frame.bytes;
    whole &= fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  }
  return fclose(file) == 0 && whole;
}

std::string answersEachPicture(const EncoderUnderTest& subject) {
  EncoderRun run(subject);
  const std::string wrong = encode(run);
  return wrong.empty() ? run.wrongAnswers() : wrong;
}

Verdict codesWhatWentIn(const EncoderUnderTest& subject) {
  EncoderRun run(subject);
  std::string wrong = encode(run);
  if (wrong.empty()) wrong = run.wrongStream();
  if (!wrong.empty()) return wrong;
  const std::string& output = subject.options.output;
  if (!output.empty() && !write(run, output)) return "cannot write " + output;
  if (subject.codec != kUnknownCodec) return {Verdict::kKept, codecRow(subject.codec).name};
  return {Verdict::kKept, "only counted, for want of a codec's name in the description or the file's name"};
}

Verdict followsKeyFrames(const EncoderUnderTest& subject) {
  if (subject.table.func_setKeyFrameFollow == nullptr) return {Verdict::kNotOffered, "setKeyFrameFollow"};
  RunSettings settings;
  settings.keyFrameFollow = true;
  return wrongStreamOf(subject, settings);
}

std::string readsLongRows(const EncoderUnderTest& subject) {
  for (const uint32_t slack : {2u, 64u}) {
    RunSettings settings;
    settings.slack = slack;
    const std::string wrong = wrongStreamOf(subject, settings);
    if (!wrong.empty()) return wrong;
  }
  return {};
}

// Sizes that no encoder need take, but each must answer for.
Verdict takesOrRefusesSizes(const EncoderUnderTest& subject) {
  constexpr std::pair<uint32_t, uint32_t> kSizes[] = {{16, 16},  {18, 34}, {66, 98},
                                                      {127, 95}, {1, 1},   {2, 2}};
  std::string refused;
  for (const auto& [width, height] : kSizes) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    EncoderRun run(subject, {.width = width, .height = height});
    int32_t status = run.open();
    if (status == 0) status = run.add(5u);
    if (status == 0) status = run.drain();
    if (status != 0) {
      if (subject.table.func_getProblem != nullptr && run.problem().empty())
        return size + " is refused without a word";
      refused += " " + size;
    }
    const std::string wrong = status == 0 ? run.wrongStream() : run.complaint;
    if (!wrong.empty()) return size + ": " + wrong;
  }
  for (const auto& [width, height] :
       {std::pair{0u, 0u}, std::pair{0u, 96u}, std::pair{~0u, ~0u}, std::pair{~0u, 2u}}) {
    EncoderRun run(subject, {.width = width, .height = height});
    if (run.open() == 0) return "takes a size of " + std::to_string(width) + "x" + std::to_string(height);
    if (!run.complaint.empty()) return run.complaint;
  }
  return {Verdict::kKept, refused.empty() ? "all taken" : "refuses" + refused};
}

std::string beginsAnew(const EncoderUnderTest& subject) {
  EncoderRun run(subject);
  for (const bool drains : {true, false, true}) {
    RunSettings settings = run.settings;
    settings.width += 64;
    settings.height += 32;
    settings.seed += 1;
    settings.firstTimecode += 10'000;
    run.settings = settings;
    if (const int32_t status = run.open(); status != 0) return "cannot open: " + run.statusText(status);
    if (const int32_t status = run.add(12u); status != 0)
      return "refuses a picture: " + run.statusText(status);
    if (!drains) continue;  // what is inside is dropped by the next initialize
    run.drain();
    if (const std::string wrong = run.wrongStream(); !wrong.empty()) return wrong;
  }
  run.close();
  return run.complaint;
}

Verdict changesBitRate(const EncoderUnderTest& subject) {
  if (subject.table.func_updateBitrate == nullptr) return {Verdict::kNotOffered, "updateBitrate"};
  EncoderRun run(subject);
  if (const int32_t status = run.open(); status != 0) return "cannot open: " + run.statusText(status);
  for (const uint32_t rate : {400'000u, 2'000'000u, 1'000'000u}) {
    run.add(6u);
    if (const int32_t status = QVS_VALIDATOR_CALL(run, updateBitrate, rate); status != 0) {
      return "refuses " + std::to_string(rate) + " bits per second: " + run.statusText(status);
    }
  }
  run.drain();
  return run.wrongStream();
}

Verdict takesTime(const EncoderUnderTest& subject) {
  EncoderRun run(subject, {.width = 640, .height = 360});
  const std::string wrong = encode(run);
  run.close();
  if (!wrong.empty()) return wrong;
  return {Verdict::kKept, "mean of a call at 640x360" + run.times.text()};
}

}  // namespace

EncoderRules encoderStreamRules() {
  return {{"answers each picture once", answersEachPicture},
          {"codes streams that decode to what went in", codesWhatWentIn},
          {"codes key frames only where asked, when told so", followsKeyFrames},
          {"reads rows that are longer than the picture", readsLongRows},
          {"takes or refuses every size", takesOrRefusesSizes},
          {"begins anew with another size", beginsAnew},
          {"changes its bit rate while it runs", changesBitRate},
          {"takes its time", takesTime}};
}

}  // namespace qvs::validator
