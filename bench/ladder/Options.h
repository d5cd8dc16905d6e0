#pragma once

#include <cstdint>
#include <string>

#include "ladder/LadderSpec.h"

namespace qvs::bench {

/// Command line of the ladder programs.
struct Options {
  std::string input;
  std::string outputFolder;  ///< empty: the packets are counted and dropped
  uint64_t frames = 0;       ///< 0: each frame of the input once; more than it has: it is looped
  uint32_t ladders = 1;      ///< side by side, a thread each
  bool parallelRungs = false;
  const LadderSpec* ladder = kLadders;
  bool paced = false;  ///< packets go in at the frame rate
  bool latency = false;
  bool allocations = false;
};

/// Ends the program with a usage line when the arguments make no sense.
Options parseOptions(int argc, char** argv);

}  // namespace qvs::bench
