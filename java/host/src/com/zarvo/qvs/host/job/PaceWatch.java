package com.zarvo.qvs.host.job;

import java.util.Locale;

/**
 * Sees whether live input is worked on as fast as it comes: by the time that the work itself takes, for a feed that
 * pauses is no sign of a slow machine.
 */
final class PaceWatch {
  private static final long WINDOW_NS = 5_000_000_000L;
  private static final double KEEPS_UP = 0.98;

  private long workedNs;
  private long windowStartMs;
  private boolean behind;
  private double slowest = Double.MAX_VALUE;
  private double behindSeconds;

  /**
   * A packet was worked on.
   *
   * @param ns that took
   * @param mediaMs of input worked on so far
   * @return a line where something has changed that a user should know, else null
   */
  String worked(long ns, long mediaMs) {
    workedNs += ns;
    if (workedNs < WINDOW_NS) return null;
    double seconds = workedNs / 1e9;
    double speed = (mediaMs - windowStartMs) / 1000.0 / seconds;
    workedNs = 0;
    windowStartMs = mediaMs;
    slowest = Math.min(slowest, speed);
    boolean was = behind;
    behind = speed < KEEPS_UP;
    if (behind) behindSeconds += seconds;
    if (behind && !was)
      return String.format(
          Locale.ROOT, "slower than real time (%.2fx at %.0f s): the feed has to wait", speed, mediaMs / 1000.0);
    return was && !behind ? String.format(Locale.ROOT, "in real time again at %.0f s", mediaMs / 1000.0) : null;
  }

  /** Seconds of work in which less than as much input was done. */
  double behindSeconds() {
    return behindSeconds;
  }

  /** The least seconds of input a second of work, 0 when it was too short to tell. */
  double slowest() {
    return slowest == Double.MAX_VALUE ? 0 : slowest;
  }
}
