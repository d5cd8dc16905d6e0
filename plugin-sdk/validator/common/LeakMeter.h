#pragma once

#include <functional>
#include <string>

namespace qvs::validator {

/// Runs `cycle` again and again. Empty, or what each of the later rounds has left behind: memory, files or threads.
std::string whatGrows(const std::function<void()>& cycle);

}  // namespace qvs::validator
