package com.zarvo.qvs.host;

/**
 * Gives the native side whole milliseconds that begin at {@link #BASE_MS}, whatever the container's times are, and
 * turns its sample counts back: a count of 0 stands BASE_MS before the first packet's exact time.
 */
final class AudioClock {
  /** Room before the first packet: the native side has no times below 0. */
  static final long BASE_MS = 10_000;

  private final Rational unit;
  private final long origin;

  /** The clock of a stream whose first packet has the time `origin` in `unit`. */
  AudioClock(Rational unit, long origin) {
    this.unit = unit;
    this.origin = origin;
  }

  long timecodeMs(long pts) {
    return Math.max(1, BASE_MS + unit.toMilliseconds(pts - origin));
  }

  /** Time of the first packet in samples. */
  long originSamples(int rate) {
    return Math.round((double) origin * unit.num() * rate / unit.den());
  }

  /** A time of the native side in samples as a time of the container in samples. */
  long toContainer(long samples, int rate) {
    return samples - BASE_MS * rate / 1000 + originSamples(rate);
  }
}
