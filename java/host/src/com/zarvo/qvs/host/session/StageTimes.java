package com.zarvo.qvs.host.session;

import java.util.concurrent.atomic.AtomicLongArray;

/**
 * How long the calls of a stage take: counts and a sum over all, and a histogram of fixed size over the last one to two
 * thousand, from which quantiles are read to within 7 %. Written by the session's thread, read by any.
 */
public final class StageTimes {
  // Eight steps an octave, from a microsecond to two minutes.
  private static final int STEPS = 8;
  private static final int STEP_BITS = 3;
  private static final int UNIT_BITS = 10;
  private static final int BUCKETS = 26 * STEPS;
  private static final int WINDOW = 1024;

  private final Counter count = new Counter();
  private final Counter nanoseconds = new Counter();
  // The window that fills, and the full one before it.
  private final AtomicLongArray buckets = new AtomicLongArray(2 * BUCKETS);
  private int filling;

  void add(long ns) {
    count.add(1);
    nanoseconds.add(ns);
    int at = filling + bucketOf(ns);
    buckets.setOpaque(at, buckets.getPlain(at) + 1);
    if (count.get() % WINDOW != 0) return;
    filling = BUCKETS - filling;
    for (int i = 0; i < BUCKETS; i++) buckets.setOpaque(filling + i, 0);
  }

  /** All calls so far. */
  public long count() {
    return count.get();
  }

  /** What all calls took so far. */
  public double totalSeconds() {
    return nanoseconds.get() / 1e9;
  }

  /** The time that a share of the latest calls did not exceed, NaN before the first. */
  public double quantileSeconds(double share) {
    long[] both = new long[BUCKETS];
    long total = 0;
    for (int i = 0; i < BUCKETS; i++) total += both[i] = buckets.getOpaque(i) + buckets.getOpaque(BUCKETS + i);
    if (total == 0) return Double.NaN;
    long left = Math.max(1, (long) Math.ceil(share * total));
    int at = 0;
    while ((left -= both[at]) > 0) at++;
    return (lowerEnd(at) + lowerEnd(at + 1)) / 2.0 * (1 << UNIT_BITS) / 1e9;
  }

  static int bucketOf(long ns) {
    long units = Math.max(0, ns) >> UNIT_BITS;
    if (units < STEPS) return (int) units;
    int octave = Long.SIZE - 1 - Long.numberOfLeadingZeros(units);
    int step = (int) (units >>> (octave - STEP_BITS)) & (STEPS - 1);
    return Math.min(BUCKETS - 1, (octave - STEP_BITS + 1) * STEPS + step);
  }

  private static long lowerEnd(int bucket) {
    if (bucket < STEPS) return bucket;
    return (long) (STEPS + bucket % STEPS) << (bucket / STEPS - 1);
  }
}
