// What a plug-in library is and tells of itself.
#include "Probe.h"

#include <qvs/video_decoder.h>
#include <qvs/video_scaler.h>
#include <qvs/vod_transcoder.h>
#include <unistd.h>

#include <type_traits>

#include "ElfHeader.h"
#include "PluginLibrary.h"

namespace qvs::probe {

std::string statusText(int64_t status) {
  switch (status) {
#define QVS_PROBE_STATUS(code, name, text) \
  case code:                               \
    return text;
    QVS_PLUGIN_STATUS_CODES(QVS_PROBE_STATUS)
    QVS_PLUGIN_DECODER_STATUS_CODES(QVS_PROBE_STATUS)
    QVS_PLUGIN_CARD_STATUS_CODES(QVS_PROBE_STATUS)
#undef QVS_PROBE_STATUS
    default:
      return "status " + std::to_string(status);
  }
}

std::string failureText(int64_t status, const std::string& own) {
  return own.empty() ? statusText(status) : own + " [" + statusText(status) + "]";
}

std::string written(const Json& report) {
  return report.dump(-1, ' ', false, Json::error_handler_t::replace);
}

namespace {

constexpr uint32_t kDescriptionRoom = 256 * 1024;

void refuse(Json& report, const char* state, const std::string& reason) {
  report["state"] = state;
  report["reason"] = reason;
}

/// getVersion: whether the plug-in works on this machine.
template <typename Table>
bool readVersion(const Table& table, Json& report, Steps& steps) {
  char text[512] = "";
  uint32_t major = 0, minor = 0;
  steps.begin("getVersion");
  const int32_t status =
      table.func_getVersion(reinterpret_cast<uint8_t*>(text), sizeof text - 1, &major, &minor);
  text[sizeof text - 1] = '\0';
  report["status"] = status;
  report["version"] = {{"major", major}, {"minor", minor}, {"text", text}};
  if (status != 0) refuse(report, "unavailable", failureText(status, text));
  return status == 0;
}

template <typename Table>
void readDescription(const Table& table, Json& report, Steps& steps) {
  if constexpr (requires { table.func_describe; }) {
    if (table.func_describe == nullptr) return;
    steps.begin("describe");
    std::string text(kDescriptionRoom, '\0');
    if (const int32_t status = table.func_describe(text.data(), kDescriptionRoom, nullptr); status != 0) {
      report["descriptionTrouble"] = statusText(status);
      return;
    }
    text.resize(std::char_traits<char>::length(text.c_str()));
    Json description = Json::parse(text, nullptr, false);
    if (description.is_object()) {
      report["description"] = std::move(description);
    } else {
      report["descriptionTrouble"] = "describe gives no JSON object";
    }
  }
}

template <typename Table>
Json openAndClose(const Table& table, Steps& steps) {
  Trial<Table> trial(table, steps);
  if constexpr (requires { table.func_initialize; }) {
    trial.set("setGPUID", table.func_setGPUID, -1);
    trial.check("initialize", table.func_initialize);
    trial.check("close", table.func_close);
  }
  trial.end();
  Json report;
  report["did"] = "open";
  trial.writeTo(report);
  return report;
}

/// A kind of plug-in: by which prefix it is known, and how it is looked at.
struct Family {
  const char* name;
  const char* prefix;
  const char* mark;  ///< an entry point that says that the library is one of these
  void (*look)(const Family& family, const PluginLibrary& library, const ProbeRequest& request, Json& report,
               Steps& steps);
};

template <typename Table, auto kResolve>
void lookAtCodec(const Family& family, const PluginLibrary& library, const ProbeRequest& request,
                 Json& report, Steps& steps) {
  Table table{};
  if (kResolve(&table, PluginLibrary::find, library.get(), family.prefix) == 0 ||
      table.func_getVersion == nullptr) {
    refuse(report, "broken", "lacks a function that every " + std::string(family.name) + " has");
    return;
  }
  const bool works = readVersion(table, report, steps);
  readDescription(table, report, steps);
  steps.keep(written(report));
  if (!works || !request.tries) return;
  if constexpr (std::is_same_v<Table, pluginVideoEncoder>) {
    report["trial"] = tryEncoder(table, request.settings, steps);
  } else {
    report["trial"] = openAndClose(table, steps);
  }
}

void lookAtScaler(const Family&, const PluginLibrary& library, const ProbeRequest&, Json& report,
                  Steps& steps) {
  PluginVideoScaler table{};
  if (videoScalerResolve(&table, PluginLibrary::find, library.get()) == 0) {
    refuse(report, "broken", "lacks a function that every video scaler has");
    return;
  }
  steps.begin("isAvailable");
  const uint32_t answer = table.func_isAvailable();
  report["status"] = answer;
  if ((answer & VIDEO_SCALER_AVAILABLE_MASK) != VIDEO_SCALER_AVAILABLE_MASK) {
    refuse(report, "unavailable", "isAvailable gives " + std::to_string(answer));
  }
}

constexpr Family kFamilies[] = {
    {"video encoder", "zarvoVideoEncoder_", "create", lookAtCodec<pluginVideoEncoder, videoEncoderResolve>},
    {"video encoder", "u30e_zarvoVideoEncoder_", "create",
     lookAtCodec<pluginVideoEncoder, videoEncoderResolve>},
    {"video decoder", "zarvoVideoDecoder_", "create", lookAtCodec<pluginVideoDecoder, videoDecoderResolve>},
    {"video decoder", "u30d_zarvoVideoDecoder_", "create",
     lookAtCodec<pluginVideoDecoder, videoDecoderResolve>},
    {"off-line transcoder", "zarvoVODTranscoder_", "create",
     lookAtCodec<pluginVODTranscoder, vodTranscoderResolve>},
    {"video scaler", "zarvoVideoScaler_", "create", lookAtScaler},
};

const Family* familyOf(const PluginLibrary& library) {
  for (const Family& family : kFamilies) {
    if (library.exports(std::string(family.prefix) + family.mark)) return &family;
  }
  return nullptr;
}

}  // namespace

Json probe(const ProbeRequest& request, Steps& steps) {
  Json report = {{"file", request.file}, {"state", "available"}, {"loaded", false}};
  std::string trouble = elfTrouble(request.file);
  if (!trouble.empty()) {
    refuse(report, access(request.file.c_str(), F_OK) == 0 ? "broken" : "missing", trouble);
    return report;
  }
  steps.begin("loading");
  const PluginLibrary library(request.file, trouble);
  report["loaded"] = trouble.empty();
  if (!trouble.empty()) {
    refuse(report, "broken", trouble);
    return report;
  }
  if (const Family* family = familyOf(library); family != nullptr) {
    report["family"] = family->name;
    steps.keep(written(report));
    family->look(*family, library, request, report, steps);
  } else {
    refuse(report, "broken", "is no plug-in: it exports none of their functions");
  }
  steps.begin("unloading");
  return report;
}

}  // namespace qvs::probe
