#pragma once

#include <string>

namespace qvs::probe {

/// Why a file can't be a library of this machine, in words; empty where nothing speaks against it. The loader itself calls
/// a library for another machine "no such file".
std::string elfTrouble(const std::string& path);

}  // namespace qvs::probe
