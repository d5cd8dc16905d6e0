// How the entry points of a plug-in are listed.
#include "common/Family.h"

namespace qvs::validator {

std::string listingLine(const char* prefix, const char* name, bool offered, bool needed) {
  const char* word = offered ? "has    " : needed ? "LACKS  " : "lacks  ";
  return std::string(word) + prefix + name + "\n";
}

}  // namespace qvs::validator
