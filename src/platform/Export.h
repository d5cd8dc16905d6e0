#pragma once

/// Marks the few classes that other modules of the process link against; everything else stays hidden.
#define QVS_EXPORT __attribute__((visibility("default")))
