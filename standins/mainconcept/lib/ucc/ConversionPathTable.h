#pragma once

#include "ucc/ConversionPath.h"

namespace qvs::ucc {

/// The path of the first row of the table that fits the task, prepared. Null when memory fails.
ConversionPathPtr choosePath(const Task& task);

}  // namespace qvs::ucc
