package com.zarvo.qvs.host.model;

/** A time base or a frame rate; the denominator is above 0. */
public record Rational(int num, int den) {
  public double toDouble() {
    return (double) num / den;
  }

  /** Milliseconds of a time in this unit, rounded to the nearest. */
  public long toMilliseconds(long time) {
    long scaled = Math.multiplyExact(Math.multiplyExact(time, 1000L), (long) num);
    return Math.floorDiv(scaled + den / 2, den);
  }

  /** Seconds of a time in this unit. */
  public double toSeconds(long time) {
    return (double) time * num / den;
  }

  /** A time of whole milliseconds in this unit, rounded to the nearest. */
  public long ofMilliseconds(long ms) {
    return Math.round((double) ms * den / (1000.0 * num));
  }

  @Override
  public String toString() {
    return num + "/" + den;
  }
}
