package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.Orientation;
import com.zarvo.qvs.host.model.Rational;

/**
 * The video stream of a container file.
 *
 * @param codecName as libavcodec names it
 * @param pixelFormat as libavutil names it, "" when the container does not tell
 * @param width pixels, 0 when unknown
 * @param height pixels, 0 when unknown
 * @param frameRate pictures a second, 0/1 when unknown
 * @param timeBase unit of packet times, in seconds
 * @param durationMs milliseconds, -1 when unknown
 * @param pixelAspect width against height of one pixel, 0/1 when unknown
 * @param bitRate bits a second, 0 when unknown
 * @param colors the stream's own, or what players take it for
 * @param display how its pictures are to be shown
 */
public record StreamInfo(
    String codecName,
    String pixelFormat,
    int width,
    int height,
    Rational frameRate,
    Rational timeBase,
    long durationMs,
    Rational pixelAspect,
    long bitRate,
    Colors colors,
    DisplayMatrix display) {

  /** A stream of square pixels that says nothing of colours. */
  public StreamInfo(
      String codecName,
      String pixelFormat,
      int width,
      int height,
      Rational frameRate,
      Rational timeBase,
      long durationMs) {
    this(
        codecName, pixelFormat, width, height, frameRate, timeBase, durationMs, new Rational(0, 1), 0,
        Colors.usual(height), DisplayMatrix.AS_CODED);
  }

  /** Width against height of the picture as it is to be seen. */
  public double displayAspect() {
    double pixel = pixelAspect.num() > 0 ? pixelAspect.toDouble() : 1;
    return pixel * width / height;
  }

  /** The same of what is left when the edges (left, right, top, bottom in coded pixels, null for none) are cut off. */
  public double displayAspect(long[] crop) {
    if (crop == null) return displayAspect();
    double across = 1 - (double) (crop[0] + crop[1]) / width;
    double down = 1 - (double) (crop[2] + crop[3]) / height;
    return displayAspect() * across / down;
  }

  /** The same stream brought upright where quarter turns do it; otherwise it stays as coded. */
  public StreamInfo upright() {
    Orientation turn = orientation();
    if (turn.equals(Orientation.UPRIGHT)) return this;
    boolean swapped = turn.swapsSides();
    boolean inverted = swapped && pixelAspect.num() > 0;
    Rational aspect = inverted ? new Rational(pixelAspect.den(), pixelAspect.num()) : pixelAspect;
    return new StreamInfo(
        codecName, pixelFormat, swapped ? height : width, swapped ? width : height, frameRate, timeBase, durationMs,
        aspect, bitRate, colors, DisplayMatrix.AS_CODED);
  }

  /** What brings its pictures upright; nothing where quarter turns don't. */
  public Orientation orientation() {
    Orientation turn = Orientation.of(display);
    return turn != null ? turn : Orientation.UPRIGHT;
  }

  /** Milliseconds of a time in units of {@code timeBase}, rounded to the nearest. */
  public long toMilliseconds(long pts) {
    return timeBase.toMilliseconds(pts);
  }

  /** The frame rate, or 30 when the container does not tell. */
  public double frameRateOrDefault() {
    return frameRate.num() > 0 ? frameRate.toDouble() : 30.0;
  }
}
