#pragma once

#include <functional>
#include <string>

namespace qvs::validator {

/// Runs `cycle` again and again. Empty, or what each of the later rounds has left behind: memory beyond `allowed` bytes a
/// cycle, files or threads.
std::string whatGrows(const std::function<void()>& cycle, unsigned allowed);

}  // namespace qvs::validator
