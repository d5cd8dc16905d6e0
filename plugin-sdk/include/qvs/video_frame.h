/* Pictures and coded frames as they cross between the transcoder and its codec plug-ins: records that encoder, decoder
 * and off-line plug-ins share. Plain C11, and valid C++.
 *
 * Records only grow, at the end; sizes and offsets are frozen, and tested. All pointers are borrowed for the
 * length of the call that passes the record, unless the entry point says otherwise.
 */
#ifndef QVS_VIDEO_FRAME_H
#define QVS_VIDEO_FRAME_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Frame types. */
#define QVS_FRAME_UNKNOWN 0u
#define QVS_FRAME_KEY 1u
#define QVS_FRAME_PREDICTED 2u
#define QVS_FRAME_BIDIRECTIONAL 3u /* bidirectional or disposable */

/* Bits of `locations`: which copies of a picture are valid. */
#define QVS_LOCATION_SYSTEM_MEMORY 1u
#define QVS_LOCATION_CUDA 2u

/* The device copy of a picture: planar 4:2:0 whatever `four_cc` says. `height` rows of luma, then U, then V, each of
 * (height + 1) / 2 rows of stride / 2 bytes. Complete when the call is made. */
typedef struct PluginVideoFrameBufferCUDA {
  void* buffer;     /* device pointer */
  uint32_t size;    /* bytes */
  uint32_t width;   /* pixels */
  uint32_t height;  /* rows */
  size_t stride;    /* bytes */
  uint32_t four_cc; /* always "NV12", whatever the layout on the device */
} PluginVideoFrameBufferCUDA;

/* A picture with its host copy in one block and, where there is one, its device copy. */
typedef struct PluginVideoFrameBuffer {
  void* buffer;       /* host pointer to the first row of the first plane */
  uint32_t stride;    /* bytes of a row of the first plane */
  uint32_t width;     /* pixels */
  uint32_t height;    /* rows */
  uint32_t frameType; /* QVS_FRAME_... */
  uint64_t timecode;  /* milliseconds */
  uint32_t four_cc;   /* layout of the host copy; first character in the lowest byte */
  uint32_t locations; /* QVS_LOCATION_... */
  PluginVideoFrameBufferCUDA frameCUDA;
  void* hostContext; /* the transcoder's own; a plug-in hands it back unread */
} PluginVideoFrameBuffer;

/* A picture by its planes. */
typedef struct PluginVideoBuffer {
  void* plane[4];
  uint32_t stride[4]; /* bytes */
  uint32_t width;     /* pixels */
  uint32_t height;    /* rows */
  uint32_t frameType; /* QVS_FRAME_... */
  uint64_t timecode;  /* milliseconds */
  uint64_t flags;
  uint32_t four_cc;
  uint32_t index;
  void* opaque_;
} PluginVideoBuffer;

/* A coded frame: as encoders give it, and as off-line plug-ins take and give it. */
typedef struct VideoFrameEncodedData {
  uint8_t* buffer; /* the bytes, from the transcoder's allocator */
  void* jbuffer;   /* or an array of the host's virtual machine */
  void* nbuffer;   /* or the plug-in's own handle, given back by freeObject once the bytes have been taken */
  uint32_t len;    /* bytes */
  uint64_t timecode;       /* milliseconds, decoding */
  int64_t timecodeOffset;  /* milliseconds, presentation minus decoding */
  uint32_t frameType;      /* QVS_FRAME_... */
  int32_t vodPacketsIndex; /* off-line work: index of the packet it came from */
  uint8_t codecConfig;     /* not 0: configuration, no picture */
  uint8_t isAllocated;     /* not 0: `buffer` is the receiver's to free */
} VideoFrameEncodedData;

/* A CUDA context and stream that the transcoder owns. */
typedef struct PluginVideoCUDAContext {
  void* m_Context; /* CUcontext */
  void* m_Stream;  /* CUstream */
  uint32_t m_ContextDeviceId;
} PluginVideoCUDAContext;

#ifdef __cplusplus
}
#endif

#endif
