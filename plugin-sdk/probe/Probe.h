#pragma once

#include "EncoderTrial.h"

namespace qvs::probe {

/// What is wanted of a library.
struct ProbeRequest {
  std::string file;
  bool tries = false;  ///< a session is made and, of an encoder, used
  TrialSettings settings;
};

/// Loads a library and tells what it is: "file", "state" ("available", "unavailable", "missing", "broken"), "reason", "loaded",
/// "family", "version", "description", "trial". Runs the plug-in's code: in a process that may die of it.
Json probe(const ProbeRequest& request, Steps& steps);

/// The report in one line.
std::string written(const Json& report);

}  // namespace qvs::probe
