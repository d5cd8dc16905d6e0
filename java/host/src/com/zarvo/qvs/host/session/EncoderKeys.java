package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.StreamProfile;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.H264Tuning;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;

/** The keys by which an encoder is set up, whatever stands behind it. */
final class EncoderKeys {
  // Of the session's plug-in hosts.
  private static final int ASYNCHRONOUS = 900000;
  private static final int FLUSH = 900001;
  private static final int CALL_DEADLINE = 900002;

  private EncoderKeys() {}

  /** `kept` is the profile and level to go on with, null where there is none yet. */
  static TranscoderNativeParameterValue[] of(
      EncoderBackend backend, SessionSettings settings, RenditionSpec spec, StreamProfile kept) {
    H264Tuning tuning = kept == null || spec.codec() != VideoCodec.H264 ? spec.tuning() : spec.tuning().keeping(kept.profile(), kept.level());
    if (!backend.isPlugin(spec.codec()))
      return EncoderSettings.of(spec.tunedTo(tuning), settings.source().colors(), settings.parallel());
    NativeParameters keys = new NativeParameters().set(ASYNCHRONOUS, settings.parallel() ? 1 : 0);
    if (backend.hardware) keys.set(CALL_DEADLINE, settings.encoderPolicy().deadlineMs());
    return keys.toArray();
  }

  /** What makes an encoder hand out the pictures that it holds back; none where it holds none. */
  static TranscoderNativeParameterValue[] endOfStream(EncoderBackend backend, RenditionSpec spec) {
    if (backend.isPlugin(spec.codec())) return new NativeParameters().set(FLUSH, 1).toArray();
    return spec.tuning().bFrames() > 0 ? EncoderSettings.endOfStream() : new TranscoderNativeParameterValue[0];
  }
}
