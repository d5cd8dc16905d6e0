#pragma once

#include <string>

#include "qvs/plugin.h"

namespace qvs::validator {

/// Opens a library; null where it can't be, with the loader's words in `error`. It stays open.
void* openLibrary(const std::string& file, std::string& error);

/// The loader's search, in the shape of the kit's headers.
void* findSymbol(void* library, const char* symbol);

}  // namespace qvs::validator
