package com.zarvo.qvs.host;

/** What a container is told of one stream that it is to hold. */
public sealed interface OutputTrack {
  /** As libavcodec names it. */
  String codecName();

  /** The codec's configuration as containers keep it; may be empty. */
  byte[] config();

  /** Unit of the times of this stream's packets. */
  Rational timeBase();

  /**
   * Pictures.
   *
   * @param frameRate 0/1 when unknown
   */
  record Video(String codecName, byte[] config, Rational timeBase, int width, int height, Rational frameRate)
      implements OutputTrack {}

  /**
   * Sound.
   *
   * @param frameSamples samples of a packet where all have as many, else 0
   * @param delaySamples samples at the start that the codec's delay makes: players drop them
   */
  record Audio(
      String codecName,
      byte[] config,
      Rational timeBase,
      int sampleRate,
      int channels,
      int frameSamples,
      int delaySamples)
      implements OutputTrack {}
}
