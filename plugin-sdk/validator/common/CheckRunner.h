#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qvs::validator {

/// What a check has found.
struct Verdict {
  enum Kind : char { kKept = 'k', kBroken = 'b', kNotOffered = 'n' };

  Verdict() = default;
  /// Empty: the rule is kept; else how it is broken.
  Verdict(std::string wrong) : kind(wrong.empty() ? kKept : kBroken), text(std::move(wrong)) {}
  Verdict(Kind ofKind, std::string words) : kind(ofKind), text(std::move(words)) {}

  Kind kind = kKept;
  std::string text;  ///< kept: what there is to tell beside; not offered: the entry points that it needs
};

/// One rule of the contract.
struct Check {
  const char* rule;  ///< completes "the plug-in ..."
  std::function<Verdict()> run;
};

/// Remembers the entry point that is called from now on, a literal, so that a crash or hang in it can be told.
void enter(const char* entryPoint);

/// Runs `body` in a process of its own, so that a plug-in that crashes or hangs breaks only one rule. Gives what the
/// body gives, or how its process ended.
Verdict runApart(const std::function<Verdict()>& body, unsigned secondsAllowed);

/// Runs the checks one after the other and tells each on standard output. The number of rules broken.
int runAll(const std::vector<Check>& checks, unsigned secondsAllowed);

}  // namespace qvs::validator
