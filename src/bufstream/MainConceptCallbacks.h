#pragma once

#include <mc_callbacks.h>

#include <cstdio>

namespace qvs {

/// Where the encoders' statistics go while it is open; not owned. Null by default.
extern std::FILE* enc_stat_file;

/// Fills the record that every codec and converter library of that family takes: zero-filled memory, and
/// printers that write one line each to standard output.
void init_callbacks(mc_callbacks_t& callbacks);

}  // namespace qvs
