// Scaler plug-ins: what they are known by, and which rules hold for what they offer.
#include "common/PluginLibrary.h"
#include "scaler/ScalerChecks.h"

namespace qvs::validator {
namespace {

Identity identify(const std::string&, void* library) {
  PluginVideoScaler plugin;
  const bool complete = videoScalerResolve(&plugin, findSymbol, library) != 0;
  Identity identity;
#define LIST(name, needed, result, parameters)     \
  identity.isOne |= plugin.func_##name != nullptr; \
  identity.listing += listingLine("zarvoVideoScaler_", #name, plugin.func_##name != nullptr, needed);
  VIDEO_SCALER_ENTRY_POINTS(LIST)
#undef LIST
  identity.codecs = {0};
  const bool hasSessions = plugin.func_create != nullptr && plugin.func_destroy != nullptr;
  if (!complete) {
    identity.wrong = "is not a scaler plug-in: a needed entry point is missing";
  } else if (const uint32_t answer = plugin.func_isAvailable();
             (answer & VIDEO_SCALER_AVAILABLE_MASK) != VIDEO_SCALER_AVAILABLE_MASK) {
    identity.wrong = "is not available on this machine: isAvailable gives " + std::to_string(answer);
  } else if (!hasSessions || (plugin.func_scaleByHalf == nullptr && plugin.func_overlayFrame == nullptr)) {
    identity.wrong = "offers nothing: sessions and one of scaleByHalf, overlayFrame are needed for any use";
  }
  return identity;
}

Verdict whereOffered(bool offered, const char* entry, const Rule<PluginVideoScaler>& rule,
                     const PluginVideoScaler& plugin) {
  return offered ? rule.run(plugin) : Verdict{Verdict::kNotOffered, entry};
}

std::vector<Check> checks(const Options& options, uint32_t) {
  ScalerRules rules = scalerSessionRules();
  for (const auto& rule : halfRules()) {
    rules.push_back({rule.rule, [rule](const PluginVideoScaler& plugin) {
                       return whereOffered(plugin.func_scaleByHalf != nullptr, "scaleByHalf", rule, plugin);
                     }});
  }
  for (const auto& rule : overlayRules()) {
    rules.push_back({rule.rule, [rule](const PluginVideoScaler& plugin) {
                       return whereOffered(plugin.func_overlayFrame != nullptr, "overlayFrame", rule, plugin);
                     }});
  }
  std::vector<Check> all;
  append(all, rules, [file = options.file] {
    std::string error;
    PluginVideoScaler plugin;
    videoScalerResolve(&plugin, findSymbol, openLibrary(file, error));
    return plugin;
  });
  return all;
}

}  // namespace

const Family kScalerFamily{"scaler", identify, checks};

}  // namespace qvs::validator
