// What dispatchers want to find in a runtime and nobody here calls. The public headers stay out: names are enough.
#include <cstdint>

// clang-format off
#define QVS_VPL_UNSUPPORTED_NAMES(X) \
  X(MFXDoWork) X(MFXVideoCORE_SetBufferAllocator) X(MFXMemory_GetSurfaceForDecode)                          \
  X(MFXMemory_GetSurfaceForEncode) X(MFXMemory_GetSurfaceForVPP) X(MFXMemory_GetSurfaceForVPPOut)           \
  X(MFXVideoENC_Close) X(MFXVideoENC_GetVideoParam) X(MFXVideoENC_Init) X(MFXVideoENC_ProcessFrameAsync)    \
  X(MFXVideoENC_Query) X(MFXVideoENC_QueryIOSurf) X(MFXVideoENC_Reset) X(MFXVideoPAK_Close)                 \
  X(MFXVideoPAK_GetVideoParam) X(MFXVideoPAK_Init) X(MFXVideoPAK_ProcessFrameAsync) X(MFXVideoPAK_Query)    \
  X(MFXVideoPAK_QueryIOSurf) X(MFXVideoPAK_Reset) X(MFXVideoUSER_GetPlugin)                                 \
  X(MFXVideoUSER_ProcessFrameAsync) X(MFXVideoUSER_Register) X(MFXVideoUSER_Unregister)                     \
  X(MFXVideoDECODE_VPP_Close) X(MFXVideoDECODE_VPP_DecodeFrameAsync) X(MFXVideoDECODE_VPP_GetChannelParam)  \
  X(MFXVideoDECODE_VPP_Init) X(MFXVideoDECODE_VPP_Reset) X(MFXVideoVPP_QueryIOSurf)    \
  X(MFXVideoVPP_Reset) X(MFXVideoVPP_GetVideoParam)                \
  X(MFXVideoVPP_GetVPPStat) X(MFXVideoVPP_RunFrameVPPAsyncEx)               \
  X(MFXVideoVPP_ProcessFrameAsync) X(MFXVideoDECODE_SetSkipMode) X(MFXVideoDECODE_GetPayload)               \
  X(MFXVideoDECODE_GetDecodeStat) X(MFXVideoENCODE_GetEncodeStat)
// clang-format on

#define QVS_VPL_UNSUPPORTED(name)                                    \
  extern "C" __attribute__((visibility("default"))) int32_t name() { \
    return -3; /* MFX_ERR_UNSUPPORTED */                             \
  }
QVS_VPL_UNSUPPORTED_NAMES(QVS_VPL_UNSUPPORTED)
