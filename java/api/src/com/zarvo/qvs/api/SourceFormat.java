package com.zarvo.qvs.api;

import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Rational;

/** Pictures that a program brings itself, packet by packet. Each call that sets something gives a new format. */
public final class SourceFormat {
  private static final byte[] NO_CONFIG = {};
  private static final int RATE_UNIT = 1000;

  private final Codec codec;
  private final int width;
  private final int height;
  private final Rational timeBase;
  private final double frameRate;
  private final byte[] config;

  private SourceFormat(Codec codec, int width, int height, Rational timeBase, double frameRate, byte[] config) {
    this.codec = codec;
    this.width = width;
    this.height = height;
    this.timeBase = timeBase;
    this.frameRate = frameRate;
    this.config = config;
  }

  /** Pictures of that size whose times are milliseconds, at about 30 a second. */
  public static SourceFormat of(Codec codec, int width, int height) {
    if (width < 1 || height < 1 || width > 8192 || height > 8192)
      throw new IllegalArgumentException("pictures of " + width + "x" + height + " are outside 1x1 to 8192x8192");
    return new SourceFormat(codec, width, height, new Rational(1, 1000), 0, NO_CONFIG);
  }

  /** Times count this part of a second, as 1 and 90000. */
  public SourceFormat timeBase(int numerator, int denominator) {
    if (numerator < 1 || denominator < 1)
      throw new IllegalArgumentException("time base " + numerator + "/" + denominator + " is not above 0");
    return new SourceFormat(codec, width, height, new Rational(numerator, denominator), frameRate, config);
  }

  /** Pictures a second; times rule, this is what encoders plan with. */
  public SourceFormat frameRate(double picturesPerSecond) {
    if (!(picturesPerSecond > 0 && picturesPerSecond <= 1000))
      throw new IllegalArgumentException("frame rate " + picturesPerSecond + " is outside 0 to 1000");
    return new SourceFormat(codec, width, height, timeBase, picturesPerSecond, config);
  }

  /**
   * The codec's configuration as containers keep it (avcC, hvcC, ...). Without it H.264 and H.265 come with start codes
   * and their parameter sets in the stream.
   */
  public SourceFormat config(byte[] bytes) {
    return new SourceFormat(codec, width, height, timeBase, frameRate, bytes.clone());
  }

  Codec codec() {
    return codec;
  }

  /** The bytes that stand for start codes where nothing is known. */
  byte[] config() {
    return config.length > 0 || !codec.own.hasUnits() ? config : new byte[] {0, 0, 0, 1};
  }

  StreamInfo info() {
    Rational rate = new Rational((int) Math.round(frameRate * RATE_UNIT), frameRate > 0 ? RATE_UNIT : 1);
    return new StreamInfo(codec.own.codecName, "", width, height, rate, timeBase, -1);
  }
}
