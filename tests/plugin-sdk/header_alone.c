/* The public headers are complete by themselves and plain C11. */
#include "qvs/video_decoder.h"
#include "qvs/video_encoder.h"
#include "qvs/video_frame.h"
#include "qvs/video_scaler.h"
#include "qvs/vod_transcoder.h"

_Static_assert(sizeof(pluginVideoEncoder) == 36 * sizeof(void*), "one pointer an entry point");
_Static_assert(sizeof(pluginVideoDecoder) == 39 * sizeof(void*), "one pointer an entry point");
_Static_assert(sizeof(pluginVODTranscoder) == 7 * sizeof(void*), "one pointer an entry point");
_Static_assert(sizeof(PluginVideoScaler) == 24 * sizeof(void*), "one pointer an entry point");
