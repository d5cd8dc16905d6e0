/* The public headers are complete by themselves and plain C11. */
#include "qvs/video_frame.h"
#include "qvs/video_scaler.h"

_Static_assert(sizeof(PluginVideoScaler) == 5 * sizeof(void*), "one pointer an entry point");
