// Ten pictures through an encoder, in the order of calls that the transcoder has.
#include "EncoderTrial.h"

#include <algorithm>
#include <chrono>

#include "TrialPicture.h"

namespace qvs::probe {
namespace {

constexpr uint32_t kPictures = 10;
constexpr uint32_t kBitRate = 1'000'000;
constexpr double kFrameRate = 30;
// More calls of drain than pictures went in would be a plug-in that never comes to an end.
constexpr uint32_t kDrainCalls = kPictures + 1;

/// The output arrays of one call, and what came out of all.
struct CodedOutput {
  static constexpr uint32_t kRoom = QVS_VIDEO_ENCODER_FRAMES_MAX;
  void* frames[kRoom] = {};
  uint32_t sizes[kRoom] = {};
  uint32_t types[kRoom] = {};
  uint64_t timecodes[kRoom] = {};
  uint64_t offsets[kRoom] = {};
  uint32_t count = kRoom;

  uint32_t total = 0;
  uint64_t bytes = 0;

  /// Takes what the call gave; in words what is wrong with it.
  std::string take() {
    if (count > kRoom) return "gives back " + std::to_string(count) + " frames where 20 fit";
    std::string trouble;
    for (uint32_t i = 0; i < count; ++i) {
      if (frames[i] == nullptr || sizes[i] == 0) trouble = "gives back a frame without bytes";
      if (total == 0 && types[i] != QVS_FRAME_KEY) trouble = "begins with a frame that is no key frame";
      bytes += sizes[i];
      ++total;
      std::free(frames[i]);
    }
    std::fill_n(frames, kRoom, nullptr);
    return trouble;
  }
};

using EncoderSessionTrial = Trial<pluginVideoEncoder>;

void takeOutput(EncoderSessionTrial& trial, const char* call, CodedOutput& out) {
  if (!trial.works()) return;
  if (const std::string trouble = out.take(); !trouble.empty()) trial.fail(call, trouble);
}

void open(EncoderSessionTrial& trial, const pluginVideoEncoder& plugin, const TrialSettings& settings) {
  trial.set("setCodecAndVersion", plugin.func_setCodecAndVersion, settings.codec, settings.codecVersion);
  trial.set("createDone", plugin.func_createDone);
  trial.set("setPluginPath", plugin.func_setPluginPath, settings.folder.c_str());
  trial.set("setGPUID", plugin.func_setGPUID, -1);
  trial.set("setFrameSize", plugin.func_setFrameSize, settings.width, settings.height);
  trial.set("setFrameRate", plugin.func_setFrameRate, kFrameRate);
  trial.set("setBitrate", plugin.func_setBitrate, kBitRate);
  trial.check("applyParameters", plugin.func_applyParameters);
  trial.check("checkSettings", plugin.func_checkSettings);
  trial.check("initialize", plugin.func_initialize);
}

void encode(EncoderSessionTrial& trial, const pluginVideoEncoder& plugin, const TrialSettings& settings,
            CodedOutput& out) {
  TrialPicture picture(settings.width, settings.height);
  for (uint32_t i = 0; i < kPictures && trial.works(); ++i) {
    picture.paint(i);
    out.count = CodedOutput::kRoom;
    const uint32_t type = i == 0 ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
    const auto timecode = static_cast<uint64_t>(i * 1000 / kFrameRate);
    trial.check("addFrame2", plugin.func_addFrame2, static_cast<void*>(picture.data()), picture.stride,
                picture.width, picture.height, type, timecode, static_cast<void**>(out.frames), +out.sizes,
                +out.types, +out.timecodes, +out.offsets, &out.count);
    takeOutput(trial, "addFrame2", out);
  }
}

void drain(EncoderSessionTrial& trial, const pluginVideoEncoder& plugin, CodedOutput& out) {
  if (plugin.func_drain == nullptr) return;
  out.count = 1;
  for (uint32_t calls = 0; calls < kDrainCalls && out.count > 0 && trial.works(); ++calls) {
    out.count = CodedOutput::kRoom;
    trial.check("drain", plugin.func_drain, static_cast<void**>(out.frames), +out.sizes, +out.types,
                +out.timecodes, +out.offsets, &out.count);
    takeOutput(trial, "drain", out);
  }
  if (trial.works() && out.total != kPictures) {
    trial.fail("drain", std::to_string(out.total) + " frames of " + std::to_string(kPictures) + " pictures");
  }
}

}  // namespace

Json tryEncoder(const pluginVideoEncoder& plugin, const TrialSettings& settings, Steps& steps) {
  const auto begun = std::chrono::steady_clock::now();
  EncoderSessionTrial trial(plugin, steps);
  CodedOutput out;
  open(trial, plugin, settings);
  const bool takesHostPictures = plugin.func_addFrame2 != nullptr;
  if (takesHostPictures) {
    encode(trial, plugin, settings, out);
    drain(trial, plugin, out);
    if (trial.works() && out.total == 0) trial.fail("addFrame2", "no coded frame came of ten pictures");
  }
  trial.end();
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begun;
  Json report;
  report["did"] = takesHostPictures ? "encode" : "open";
  trial.writeTo(report);
  if (takesHostPictures) {
    report["pictures"] = kPictures;
    report["frames"] = out.total;
    report["bytes"] = out.bytes;
  }
  report["milliseconds"] = took.count();
  return report;
}

}  // namespace qvs::probe
