package com.zarvo.qvs.host;

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
 */
public record StreamInfo(
    String codecName,
    String pixelFormat,
    int width,
    int height,
    Rational frameRate,
    Rational timeBase,
    long durationMs) {

  /** Milliseconds of a time in units of {@code timeBase}, rounded to the nearest. */
  public long toMilliseconds(long pts) {
    return timeBase.toMilliseconds(pts);
  }

  /** The frame rate, or 30 when the container does not tell. */
  public double frameRateOrDefault() {
    return frameRate.num() > 0 ? frameRate.toDouble() : 30.0;
  }
}
