#pragma once

// What `libcudawrapper.so` says of itself. The vendor's libraries are opened at the first call of one of theirs, once
// for the process, and never closed: their threads may outlive any call.

/// 1 where `libcuda.so.1` was found, 0 where not. Any thread.
extern "C" int cudaWrapperHasDriver();

/// 1 where `libnvcuvid.so.1` was found with all that is called of it. Any thread.
extern "C" int cudaWrapperHasNvcuvid();
