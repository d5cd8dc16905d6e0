#pragma once

#include <cstdint>

// The number types of the sample media framework.
using Ipp8u = uint8_t;
using Ipp32s = int32_t;
using Ipp32u = uint32_t;
using Ipp64f = double;
