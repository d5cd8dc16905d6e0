#pragma once

#include <qvs/plugin.h>

#include <exception>
#include <new>
#include <string>

namespace qvs::plugins {

/// Runs `body` and gives its status. No exception crosses the boundary: one becomes a status, and its text `problem`.
template <typename Body>
int32_t guarded(std::string& problem, Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return QVS_PLUGIN_ALLOCATE_BUFFER;
  } catch (const std::exception& e) {
    problem = e.what();
    return QVS_PLUGIN_INIT_ENCODER;
  }
}

}  // namespace qvs::plugins
