// Drives a scaler plug-in through the contract of "qvs/video_scaler.h" and tells what it breaks.
//
//   qvs-plugin-validate FILE.so
//
// Exit code 0: the contract is kept; 1: it is broken; 2: there is nothing to check.
#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "CheckRunner.h"

using namespace qvs::validator;

namespace {

constexpr int kKept = 0, kBroken = 1, kNothing = 2;

// The number of rules broken.
int runAll(const std::vector<Check>& checks, const PluginVideoScaler& plugin) {
  int broken = 0;
  for (const Check& check : checks) {
    const std::string verdict = runApart(check, plugin);
    printf(verdict.empty() ? "ok    %s\n" : "WRONG %s: %s\n", check.rule, verdict.c_str());
    broken += verdict.empty() ? 0 : 1;
  }
  return broken;
}

void listEntryPoints(const PluginVideoScaler& plugin) {
#define LIST(name, needed, result, parameters)                                       \
  printf("%s zarvoVideoScaler_" #name "\n", plugin.func_##name != nullptr ? "has   " \
                                            : needed                      ? "LACKS " \
                                                                          : "lacks ");
  VIDEO_SCALER_ENTRY_POINTS(LIST)
#undef LIST
}

int validate(const PluginVideoScaler& plugin) {
  int broken = 0;
  const bool hasSessions = plugin.func_create != nullptr && plugin.func_destroy != nullptr;
  if (!hasSessions || (plugin.func_scaleByHalf == nullptr && plugin.func_overlayFrame == nullptr)) {
    puts("WRONG offers nothing: sessions and one of scaleByHalf, overlayFrame are needed for any use");
    return kBroken;
  }
  broken += runAll(sessionChecks(), plugin);
  if (plugin.func_scaleByHalf != nullptr) broken += runAll(halfChecks(), plugin);
  if (plugin.func_overlayFrame != nullptr) broken += runAll(overlayChecks(), plugin);
  printf("%s\n", broken == 0 ? "The contract is kept." : "The contract is broken.");
  return broken == 0 ? kKept : kBroken;
}

}  // namespace

int main(int count, char** arguments) {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  if (count != 2) {
    fputs("usage: qvs-plugin-validate FILE.so\n", stderr);
    return kNothing;
  }
  void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    fprintf(stderr, "qvs-plugin-validate: %s\n", dlerror());
    return kNothing;
  }
  PluginVideoScaler plugin;
  const bool complete = videoScalerResolve(&plugin, dlsym, library) != 0;
  listEntryPoints(plugin);
  if (!complete) {
    puts("WRONG is not a scaler plug-in: a needed entry point is missing");
    return kBroken;
  }
  const uint32_t answer = plugin.func_isAvailable();
  if ((answer & VIDEO_SCALER_AVAILABLE_MASK) != VIDEO_SCALER_AVAILABLE_MASK) {
    printf("WRONG is not available on this machine: isAvailable gives %u\n", answer);
    return kBroken;
  }
  return validate(plugin);
}
