package com.zarvo.qvs.transcoder.model;

/** Lacks the masks. */
public class TranscoderNativeAudioResamplerParameters {
  public long sampleRate = 48000;
  public long channels = 2;
}
