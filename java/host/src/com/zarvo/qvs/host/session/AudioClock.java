package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.model.Rational;

/**
 * Gives the native side whole milliseconds that begin at {@link #BASE_MS}, whatever the container's times are, and
 * turns its sample counts back: a count of 0 stands BASE_MS before the first packet's exact time.
 *
 * <p>A time that lies off where the packet before ends counts only when the packet behind confirms it: containers get
 * single times wrong. Where the reader has a wrong idea of how long packets are (the form changed on the way), times
 * that it only counted on by that idea do not count either.
 */
public final class AudioClock {
  /** Room before the first packet: the native side has no times below 0. */
  static final long BASE_MS = 10_000;

  private static final double TOLERANCE_MS = 1.5;
  private static final double COUNTED_ON_MS = 0.1;

  private final Rational unit;
  private final long origin;
  private double expectedMs = Double.NaN;
  private double countedMs = Double.NaN;

  /** The clock of a stream whose first packet has the time `origin` in `unit`. */
  public AudioClock(Rational unit, long origin) {
    this.unit = unit;
    this.origin = origin;
  }

  /**
   * The time to give to the native side with a frame.
   *
   * @param packet that brought the frame
   * @param pts the frame's time
   * @param durationMs of the frame, 0 when unknown
   * @param following the next packet, null when there is none
   */
  long timecodeMs(MediaPacket packet, long pts, double durationMs, MediaPacket following) {
    double ms = exactMs(pts);
    double toldMs = packet.duration() * 1000.0 * unit.num() / unit.den();
    boolean counted =
        durationMs > 0 && Math.abs(toldMs - durationMs) > TOLERANCE_MS && Math.abs(ms - countedMs) <= COUNTED_ON_MS;
    countedMs = ms + toldMs;
    boolean alone =
        following != null && durationMs > 0 && Math.abs(ms - expectedMs) > TOLERANCE_MS
            && Math.abs(exactMs(following.pts()) - (expectedMs + durationMs)) <= TOLERANCE_MS;
    if ((alone || counted) && !Double.isNaN(expectedMs)) ms = expectedMs;
    expectedMs = durationMs > 0 ? ms + durationMs : Double.NaN;
    return Math.max(1, BASE_MS + Math.round(ms));
  }

  /** The same for a further frame of a packet, which has no time of its own. */
  double expectedMs(double durationMs) {
    double ms = Double.isNaN(expectedMs) ? 0 : expectedMs;
    expectedMs = ms + durationMs;
    return Math.max(1, BASE_MS + ms);
  }

  /** Time of the first packet in samples. */
  public long originSamples(int rate) {
    return Math.round((double) origin * unit.num() * rate / unit.den());
  }

  /** A time of the native side in samples as a time of the container in samples. */
  public long toContainer(long samples, int rate) {
    return samples - BASE_MS * rate / 1000 + originSamples(rate);
  }

  private double exactMs(long pts) {
    return 1000.0 * (pts - origin) * unit.num() / unit.den();
  }
}
