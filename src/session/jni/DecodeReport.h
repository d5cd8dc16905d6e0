#pragma once

#include <jni.h>

#include <vector>

#include "frames/VideoFrameAncillaryData.h"
#include "session/TranscoderVideoDecoderFrameInfo.h"

namespace qvs {

/// Fills a Java object with what a decode step told: the numbers, and the timecode and ancillary records in
/// its lists. What can't be filled is told on standard output and passed over. False when a list refused by
/// an exception, which stays pending.
bool reportDecode(JNIEnv* env, jobject frameInfoObj, const TranscoderVideoDecoderFrameInfo& info,
                  const std::vector<VideoFrameAncillaryData>& ancillaryData);

}  // namespace qvs
