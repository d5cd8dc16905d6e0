package com.zarvo.qvs.transcoder.model;

/** What a resampler converts to. */
public class TranscoderNativeAudioResamplerParameters {
  /** Target rate, samples per second. */
  public long sampleRate;

  /** Target channel count. */
  public long channels;

  /** Speaker layout of the source, 0 for the usual one. */
  public long channelMaskSrc;

  /** Speaker layout of the target, 0 for the usual one. */
  public long channelMaskDst;
}
