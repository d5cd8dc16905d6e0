#include "ladder/Options.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace qvs::bench {
namespace {

[[noreturn]] void usage(const char* program) {
  std::fprintf(stderr,
               "usage: %s INPUT [--ladder NAME] [--frames N] [--out DIR] [--ladders N] [--parallel] "
               "[--latency] [--paced] "
               "[--allocations]\n",
               program);
  std::exit(2);
}

}  // namespace

Options parseOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    const auto value = [&]() -> const char* { return ++i < argc ? argv[i] : (usage(argv[0]), nullptr); };
    if (word == "--frames") {
      options.frames = std::strtoull(value(), nullptr, 10);
    } else if (word == "--out") {
      options.outputFolder = value();
    } else if (word == "--ladders") {
      options.ladders = static_cast<uint32_t>(std::strtoul(value(), nullptr, 10));
    } else if (word == "--parallel") {
      options.parallelRungs = true;
    } else if (word == "--ladder") {
      options.ladder = findLadder(value());
      if (options.ladder == nullptr) usage(argv[0]);
    } else if (word == "--paced") {
      options.paced = true;
    } else if (word == "--latency") {
      options.latency = true;
    } else if (word == "--allocations") {
      options.allocations = true;
    } else if (word.starts_with("--") || !options.input.empty()) {
      usage(argv[0]);
    } else {
      options.input = word;
    }
  }
  if (options.input.empty() || options.ladders == 0) usage(argv[0]);
  return options;
}

}  // namespace qvs::bench
