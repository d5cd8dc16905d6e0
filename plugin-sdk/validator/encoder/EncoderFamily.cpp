// Encoder plug-ins: what they are known by, and the rules that hold for them.
#include "common/KeyChecks.h"
#include "common/PluginLibrary.h"
#include "encoder/EncoderUnderTest.h"

namespace qvs::validator {
namespace {

constexpr const char* kPrefix = "zarvoVideoEncoder_";

Identity identify(const std::string& file, void* library) {
  pluginVideoEncoder plugin;
  const bool complete = videoEncoderResolve(&plugin, findSymbol, library, kPrefix) != 0;
  Identity identity;
#define LIST(name, needed, parameters)             \
  identity.isOne |= plugin.func_##name != nullptr; \
  identity.listing += listingLine(kPrefix, #name, plugin.func_##name != nullptr, needed);
  VIDEO_ENCODER_ENTRY_POINTS(LIST)
#undef LIST
  uint32_t major = 0;
  uint32_t minor = 0;
  if (!complete) {
    identity.wrong = "is not an encoder plug-in: a needed entry point is missing";
  } else if (const int32_t status = plugin.func_getVersion(nullptr, 0, &major, &minor); status != 0) {
    identity.wrong = "does not work on this machine: getVersion gives " + std::to_string(status);
  } else if (plugin.func_addFrame2 == nullptr && plugin.func_addFrame3 == nullptr) {
    identity.wrong = "takes no pictures: one of addFrame2, addFrame3 is needed for any use";
  } else {
    identity.codecs = codecsOf(keyEntryPoints(plugin), file);
  }
  return identity;
}

template <Verdict (*check)(const KeyEntryPoints&)>
Verdict ofKeys(const EncoderUnderTest& subject) {
  return check(keyEntryPoints(subject.table));
}

std::vector<Check> checks(const Options& options, uint32_t codec) {
  EncoderRules rules{{"tells its version", ofKeys<tellsItsVersion>},
                     {"describes itself and its keys", ofKeys<describesItself>},
                     {"keeps to the description of its keys", ofKeys<keepsItsKeys>}};
  for (const EncoderRules& more : {encoderSessionRules(), encoderStreamRules()}) {
    rules.insert(rules.end(), more.begin(), more.end());
  }
  std::vector<Check> all;
  append(all, rules, [options, codec] {
    std::string error;
    EncoderUnderTest subject{{}, codec, options};
    videoEncoderResolve(&subject.table, findSymbol, openLibrary(options.file, error), kPrefix);
    return subject;
  });
  return all;
}

}  // namespace

const Family kEncoderFamily{"encoder", identify, checks};

}  // namespace qvs::validator
