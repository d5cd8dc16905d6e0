package com.zarvo.qvs.host.model;

import java.util.Locale;

/** Audio codecs by the names of containers and command line, with the numbers of the native side. */
public enum AudioCodec {
  MP1("mp1", 2, 0, 8192),
  MP2("mp2", 2, 0, 8192),
  MP3("mp3", 2, 3, 8192),
  ALAW("pcm_alaw", 7, 0, 8192),
  MULAW("pcm_mulaw", 8, 0, 8192),
  VORBIS("vorbis", 9, 0, 8192, 0, 0, 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000),
  AAC(
      "aac", 10, 0, 2048, 1024, 0, 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000, 64000, 88200,
      96000),
  SPEEX("speex", 11, 0, 8192),
  OPUS("opus", 12, 0, 5760, 0, 0, 8000, 12000, 16000, 24000, 48000),
  /** Samples that the host has decoded itself: interleaved, 16 bits. */
  PCM("pcm", 100, 0, 4096);

  private static final int OPUS_PACKETS_A_SECOND = 50;
  // What libopus holds back in its mode for all kinds of sound: 6.5 ms.
  private static final int OPUS_DELAY_TENTHS_MS = 65;

  /** As libavcodec names it. */
  public final String codecName;

  /** Codec number of the native side. */
  public final long id;

  /** Tells layers of one number apart. */
  public final long implementation;

  /** Samples a channel that one coded frame can give at most. */
  public final int blockSamples;

  private final int frameSamples;
  private final int delaySamples;
  private final int[] encoderRates;

  AudioCodec(String codecName, long id, long implementation, int blockSamples) {
    this(codecName, id, implementation, blockSamples, 0, 0);
  }

  AudioCodec(
      String codecName,
      long id,
      long implementation,
      int blockSamples,
      int frameSamples,
      int delaySamples,
      int... encoderRates) {
    this.codecName = codecName;
    this.id = id;
    this.implementation = implementation;
    this.blockSamples = blockSamples;
    this.frameSamples = frameSamples;
    this.delaySamples = delaySamples;
    this.encoderRates = encoderRates;
  }

  /** True when renditions can be made in it. */
  boolean encodes() {
    return encoderRates.length > 0;
  }

  public boolean isG711() {
    return this == ALAW || this == MULAW;
  }

  /** Samples of every packet that the encoder makes, 0 when they differ. */
  public int frameSamples(int rate) {
    return this == OPUS ? rate / OPUS_PACKETS_A_SECOND : frameSamples;
  }

  /** Samples by which decoded sound lags behind what went into the encoder; the one for AAC drops its own lag. */
  public int delaySamples(int rate) {
    return this == OPUS ? rate * OPUS_DELAY_TENTHS_MS / 10_000 : delaySamples;
  }

  boolean takesRate(int rate) {
    for (int known : encoderRates) if (known == rate) return true;
    return false;
  }

  /** The rate itself where the encoder takes it, else the next higher one that it takes, else its highest. */
  int nearestRate(int rate) {
    for (int known : encoderRates) if (known >= rate) return known;
    return encoderRates[encoderRates.length - 1];
  }

  /** The codec of a container's stream. */
  public static AudioCodec ofStream(String codecName) throws HostException {
    for (AudioCodec codec : values()) if (codec.codecName.equals(codecName)) return codec;
    throw new HostException("audio codec '" + codecName + "' is not supported");
  }

  /** The codec that a rendition asks for. */
  static AudioCodec ofRendition(String text) {
    for (AudioCodec codec : values())
      if (codec.encodes() && codec.codecName.equals(text.toLowerCase(Locale.ROOT))) return codec;
    throw new IllegalArgumentException("audio codec '" + text + "' is unknown, take aac, opus or vorbis");
  }
}
