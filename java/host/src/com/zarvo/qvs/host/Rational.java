package com.zarvo.qvs.host;

/** A time base or a frame rate; the denominator is above 0. */
public record Rational(int num, int den) {
  public double toDouble() {
    return (double) num / den;
  }

  @Override
  public String toString() {
    return num + "/" + den;
  }
}
