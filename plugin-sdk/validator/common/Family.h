#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/CheckRunner.h"

namespace qvs::validator {

/// What the command line says.
struct Options {
  std::string file;
  std::string input;   ///< coded pictures for decoders; empty: own ones
  std::string output;  ///< where an encoder's stream goes; empty: nowhere
  std::string only;    ///< rules that hold this text; empty: all
  unsigned seconds = 60;
  unsigned leak = 0;  ///< bytes a session that a library behind the plug-in is known to lose
};

/// A library looked at for the first time.
struct Identity {
  bool isOne = false;              ///< of this family at all
  std::string listing;             ///< a line an entry point
  std::string wrong;               ///< not empty: there is no use in checking further
  std::vector<uint32_t> codecs{};  ///< the transcoder's numbers; 0: unknown; one round of checks each
};

/// A family of plug-ins.
struct Family {
  const char* name;
  Identity (*identify)(const std::string& file, void* library);
  std::vector<Check> (*checks)(const Options& options, uint32_t codec);
};

extern const Family kScalerFamily;
extern const Family kEncoderFamily;
extern const Family kDecoderFamily;
extern const Family kOfflineFamily;

/// "has    zarvoVideoEncoder_create".
std::string listingLine(const char* prefix, const char* name, bool offered, bool needed);

/// A rule about `Subject`, which is what a check holds of the opened plug-in.
template <typename Subject>
struct Rule {
  const char* rule;
  std::function<Verdict(const Subject&)> run;
};

/// The rules as checks: each opens its own `Subject` in the process that it runs in.
template <typename Subject, typename Open>
void append(std::vector<Check>& checks, std::vector<Rule<Subject>> rules, Open open) {
  for (Rule<Subject>& rule : rules) {
    checks.push_back({rule.rule, [run = std::move(rule.run), open] { return run(open()); }});
  }
}

}  // namespace qvs::validator
