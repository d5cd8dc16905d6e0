// Decoder plug-ins: what they are known by, and the clip that they are tried on.
#include "common/CodecRow.h"
#include "common/KeyChecks.h"
#include "common/PluginLibrary.h"
#include "decoder/DecoderUnderTest.h"

namespace qvs::validator {
namespace {

constexpr const char* kPrefix = "zarvoVideoDecoder_";

Identity identify(const std::string& file, void* library) {
  pluginVideoDecoder plugin;
  const bool complete = videoDecoderResolve(&plugin, findSymbol, library, kPrefix) != 0;
  Identity identity;
#define LIST(name, needed, result, parameters)     \
  identity.isOne |= plugin.func_##name != nullptr; \
  identity.listing += listingLine(kPrefix, #name, plugin.func_##name != nullptr, needed);
  VIDEO_DECODER_ENTRY_POINTS(LIST)
#undef LIST
  uint32_t major = 0;
  uint32_t minor = 0;
  if (!complete) {
    identity.wrong = "is not a decoder plug-in: a needed entry point is missing";
  } else if (const int32_t status = plugin.func_getVersion(nullptr, 0, &major, &minor); status != 0) {
    identity.wrong = "does not work on this machine: getVersion gives " + std::to_string(status);
  } else if (plugin.func_addFrame == nullptr || plugin.func_getDecodedFrame == nullptr ||
             (plugin.func_decode2 == nullptr && plugin.func_decode == nullptr)) {
    identity.wrong = "decodes nothing: addFrame, getDecodedFrame and decode2 are needed for any use";
  } else {
    identity.codecs = codecsOf(keyEntryPoints(plugin), file);
  }
  return identity;
}

// Each child makes or reads it again: that is quick, and nothing is shared between checks.
void findClip(DecoderUnderTest& subject, const std::string& input, uint32_t codec) {
  constexpr uint32_t kWidth = 128, kHeight = 96, kPictures = 25;
  if (input.empty() && codec == kUnknownCodec) {
    subject.noClip = "a codec's name in its description or its file's name, or an --input";
    return;
  }
  subject.clip = input.empty() ? makeClip(codec, kWidth, kHeight, kPictures, subject.noClip)
                               : readClip(input, subject.noClip);
  if (subject.noClip.empty()) subject.wanted = decodeForReference(subject.clip, subject.noClip);
  if (subject.noClip.empty() && subject.wanted.empty()) subject.noClip = "a clip with pictures";
}

template <Verdict (*check)(const KeyEntryPoints&)>
Verdict ofKeys(const DecoderUnderTest& subject) {
  return check(keyEntryPoints(subject.table));
}

std::vector<Check> checks(const Options& options, uint32_t codec) {
  DecoderRules rules{{"tells its version", ofKeys<tellsItsVersion>},
                     {"describes itself and its keys", ofKeys<describesItself>},
                     {"keeps to the description of its keys", ofKeys<keepsItsKeys>}};
  for (Rule<DecoderUnderTest>& rule : decoderRules()) rules.push_back(std::move(rule));
  std::vector<Check> all;
  append(all, rules, [options, codec] {
    std::string error;
    DecoderUnderTest subject{};
    subject.options = options;
    videoDecoderResolve(&subject.table, findSymbol, openLibrary(options.file, error), kPrefix);
    findClip(subject, options.input, codec);
    return subject;
  });
  return all;
}

}  // namespace

const Family kDecoderFamily{"decoder", identify, checks};

}  // namespace qvs::validator
