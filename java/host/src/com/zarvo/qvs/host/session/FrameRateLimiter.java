package com.zarvo.qvs.host.session;

/** Tells which pictures to leave out so that no more than a wanted number a second remain. */
final class FrameRateLimiter {
  private final double intervalMs;
  private double dueMs;
  private boolean started;

  /** A rate of 0 lets every picture pass. */
  FrameRateLimiter(double framesPerSecond) {
    this.intervalMs = framesPerSecond > 0 ? 1000.0 / framesPerSecond : 0;
  }

  /** True when the picture of that time is to be kept. Times count from the first picture asked for. */
  boolean keep(long timecodeMs) {
    if (intervalMs == 0) return true;
    if (!started) {
      started = true;
      dueMs = timecodeMs + intervalMs;
      return true;
    }
    // Timecodes are rounded to milliseconds: one that comes half a millisecond early is on time.
    if (timecodeMs + 0.5 < dueMs) return false;
    // After a gap the grid goes on from the picture that ended it; otherwise the grid holds, so errors don't add up.
    dueMs = timecodeMs - dueMs > intervalMs ? timecodeMs + intervalMs : dueMs + intervalMs;
    return true;
  }
}
