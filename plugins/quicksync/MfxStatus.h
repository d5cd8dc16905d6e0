#pragma once

#include <vpl/mfx.h>

#include <string>

namespace qvs::plugins {

/// "MFXVideoENCODE_Init: MFX_ERR_DEVICE_LOST (-13)"; `more` follows behind a blank.
std::string mfxProblem(const char* call, mfxStatus status, const std::string& more = {});

/// Whether the card, its driver or the memory is at fault, so that no further call can help.
bool isDeviceFault(mfxStatus status);

}  // namespace qvs::plugins
