#pragma once

// The video decoder of NVIDIA's cards as far as it is called here. Without the vendor's library each call answers
// "not found".

#include <ffnvcodec/dynlink_cuda.h>
#include <ffnvcodec/dynlink_nvcuvid.h>

#include "cuda_functions.h"

#define QVS_DECLARE(name, parameters, arguments) extern "C" CUresult name parameters;
QVS_NVCUVID_FUNCTIONS(QVS_DECLARE)
#undef QVS_DECLARE
