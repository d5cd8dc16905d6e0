// Drives a plug-in through the contract of its family's header and tells what it breaks.
//
//   qvs-plugin-validate [OPTION]... FILE.so
//
// Exit code 0: the contract is kept; 1: it is broken; 2: there is nothing to check.
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "common/Family.h"
#include "common/PluginLibrary.h"

using namespace qvs::validator;

namespace {

constexpr int kKept = 0, kBroken = 1, kNothing = 2;
constexpr const Family* kFamilies[] = {&kScalerFamily, &kEncoderFamily, &kDecoderFamily, &kOfflineFamily};

constexpr const char* kUsage =
    "usage: qvs-plugin-validate [OPTION]... FILE.so\n"
    "  --only TEXT      the rules that hold this text\n"
    "  --seconds N      a check that takes longer has hung (60)\n"
    "  --input CLIP     decoders, off-line: the clip to decode, in place of one made for the purpose\n"
    "  --leak BYTES     what a library behind the plug-in is known to lose with each session (0)\n"
    "  --output STREAM  encoders: where the coded pictures go, H.264 and H.265 with start codes\n";

// Runs apart. The answer's text: the family's number, the codecs' and a point, then the listing.
Verdict look(const std::string& file) {
  std::string error;
  void* library = openLibrary(file, error);
  if (library == nullptr) return {Verdict::kNotOffered, error};
  for (size_t number = 0; number < std::size(kFamilies); ++number) {
    const Identity identity = kFamilies[number]->identify(file, library);
    if (!identity.isOne) continue;
    if (!identity.wrong.empty()) return {Verdict::kBroken, identity.listing + "WRONG " + identity.wrong};
    std::string text = std::to_string(number);
    for (const uint32_t codec : identity.codecs) text += ' ' + std::to_string(codec);
    return {Verdict::kKept, text + " .\n" + identity.listing};
  }
  return {Verdict::kBroken, "WRONG is no plug-in: it exports no entry point of any family"};
}

int validate(const Options& options) {
  const Verdict found = runApart([&] { return look(options.file); }, options.seconds);
  if (found.kind == Verdict::kNotOffered) {
    fprintf(stderr, "qvs-plugin-validate: %s\n", found.text.c_str());
    return kNothing;
  }
  if (found.kind == Verdict::kBroken) {
    const bool toldInFull = found.text.find("WRONG") != std::string::npos;
    printf("%s%s\n",
           toldInFull ? "" : "WRONG while it was loaded and asked for its version: ", found.text.c_str());
    return kBroken;
  }
  const size_t headEnd = found.text.find('\n');
  printf("%s", found.text.c_str() + headEnd + 1);
  std::istringstream head(found.text.substr(0, headEnd));
  size_t family = 0;
  head >> family;
  int broken = 0;
  for (uint32_t codec = 0; head >> codec;) {
    std::vector<Check> checks = kFamilies[family]->checks(options, codec);
    std::erase_if(checks,
                  [&](const Check& check) { return strstr(check.rule, options.only.c_str()) == nullptr; });
    broken += runAll(checks, options.seconds);
  }
  printf("%s\n", broken == 0 ? "The contract is kept." : "The contract is broken.");
  return broken == 0 ? kKept : kBroken;
}

bool isNumber(const char* text, unsigned& number) {
  const char* end = text + strlen(text);
  return std::from_chars(text, end, number).ptr == end && number > 0;
}

bool parse(int count, char** arguments, Options& options) {
  for (int i = 1; i < count; ++i) {
    const std::string argument = arguments[i];
    if (argument.starts_with("--")) {
      if (++i == count) return false;
      std::string* const text = argument == "--input"    ? &options.input
                                : argument == "--output" ? &options.output
                                : argument == "--only"   ? &options.only
                                                         : nullptr;
      if (text != nullptr) {
        *text = arguments[i];
      } else {
        unsigned* const number = argument == "--seconds" ? &options.seconds
                                 : argument == "--leak"  ? &options.leak
                                                         : nullptr;
        if (number == nullptr || !isNumber(arguments[i], *number)) return false;
      }
    } else if (options.file.empty()) {
      options.file = argument;
    } else {
      return false;
    }
  }
  return !options.file.empty();
}

// Memory that a thread keeps for its next request would look like a leak. The allocator reads its settings when a process
// starts, so this one starts again; where it can't, it goes on as it is.
void startWithoutThreadCaches(char** arguments) {
  constexpr const char* kSettings = "GLIBC_TUNABLES";
  if (getenv(kSettings) != nullptr || setenv(kSettings, "glibc.malloc.tcache_count=0", 1) != 0) return;
  execv("/proc/self/exe", arguments);
}

}  // namespace

int main(int count, char** arguments) {
  startWithoutThreadCaches(arguments);
  setvbuf(stdout, nullptr, _IOLBF, 0);
  Options options;
  if (!parse(count, arguments, options)) {
    fputs(kUsage, stderr);
    return kNothing;
  }
  // A bare name means the file here, never one of the system's folders.
  if (options.file.find('/') == std::string::npos) options.file.insert(0, "./");
  return validate(options);
}
