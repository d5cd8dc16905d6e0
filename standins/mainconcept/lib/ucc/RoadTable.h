#pragma once

#include "ucc/Road.h"

namespace qvs::ucc {

/// The road of the first row of the table that fits the task, prepared. Null when memory fails.
RoadPtr chooseRoad(const Task& task);

}  // namespace qvs::ucc
