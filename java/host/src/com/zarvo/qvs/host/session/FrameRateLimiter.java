package com.zarvo.qvs.host.session;

/** Tells which pictures to leave out so that no more than a wanted number a second remain. */
public final class FrameRateLimiter {
  private final double intervalMs;
  private double dueMs;

  /** The limiter of a whole source. */
  FrameRateLimiter(double framesPerSecond) {
    this(framesPerSecond, Double.NaN);
  }

  /**
   * A rate of 0 lets every picture pass.
   *
   * @param dueMs when the next picture is due; NaN lets the first one pass that is asked for
   */
  public FrameRateLimiter(double framesPerSecond, double dueMs) {
    this.intervalMs = framesPerSecond > 0 ? 1000.0 / framesPerSecond : 0;
    this.dueMs = dueMs;
  }

  /** True when the picture of that time is to be kept. Times count from the first picture asked for. */
  public boolean keep(long timecodeMs) {
    if (intervalMs == 0) return true;
    if (Double.isNaN(dueMs)) dueMs = timecodeMs;
    // Timecodes are rounded to milliseconds: one that comes half a millisecond early is on time.
    if (timecodeMs + 0.5 < dueMs) return false;
    // After a gap the grid goes on from the picture that ended it; otherwise the grid holds, so errors don't add up.
    dueMs = timecodeMs - dueMs > intervalMs ? timecodeMs + intervalMs : dueMs + intervalMs;
    return true;
  }

  /** When the next picture is due, NaN before the first. */
  public double dueMs() {
    return dueMs;
  }
}
