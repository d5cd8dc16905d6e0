#pragma once

// The CUDA driver's handles, as its own headers name them: opaque here, so that records that carry them need
// no driver.

struct CUctx_st;
struct CUstream_st;
struct CUmod_st;
struct CUfunc_st;

typedef CUctx_st* CUcontext;
typedef CUstream_st* CUstream;
typedef CUmod_st* CUmodule;
typedef CUfunc_st* CUfunction;
typedef int CUdevice;
typedef unsigned long long CUdeviceptr;
