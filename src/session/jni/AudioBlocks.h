#pragma once

#include <jni.h>

#include "frames/AudioSampleBuffer.h"
#include "session/TranscoderSession.h"

namespace qvs {

/// Copies a block's samples and format into a Java object; -1 where the block is empty or a field is missing.
jlong readAudioBlock(JNIEnv* env, TranscoderSession& session, const char* label, jobject nativeAudioFrameObj,
                     AudioSampleBuffer* block);

/// Writes a Java object's samples into the block; -1 unless rate and byte count are the block's and the array
/// is long enough.
jlong writeAudioBlock(JNIEnv* env, TranscoderSession& session, const char* label, jobject nativeAudioFrameObj,
                      AudioSampleBuffer* block);

}  // namespace qvs
