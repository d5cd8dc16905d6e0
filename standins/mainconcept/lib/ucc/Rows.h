// A row of a picture as plain samples, and the two ways between it and packed bytes.
#pragma once

#include <cstdint>

namespace qvs::ucc {

/// One row of each component: Y, U, V, A or R, G, B, A. Samples are bytes up to a depth of 8 and 16-bit words
/// above, alpha always bytes. Unpacking skips a null component; packing takes a null alpha as opaque.
struct Rows {
  uint8_t* component[4];
};

using UnpackRow = void (*)(const uint8_t* row, const Rows& out, uint32_t samples);
using PackRow = void (*)(uint8_t* row, const Rows& in, uint32_t samples);

}  // namespace qvs::ucc
