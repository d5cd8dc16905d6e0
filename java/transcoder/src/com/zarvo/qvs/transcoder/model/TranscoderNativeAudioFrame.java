package com.zarvo.qvs.transcoder.model;

/** A block of interleaved signed 16-bit samples that crosses the boundary. */
public class TranscoderNativeAudioFrame {
  /** Samples at {@code sampleRate}. */
  public long timecode;

  /** Samples per second. */
  public long sampleRate;

  /** Channel count. */
  public long channels;

  /** Samples per channel. */
  public long sampleCount;

  /** The samples, two bytes each, little-endian. */
  public byte[] buffer;
}
