package com.zarvo.qvs.host.job;

import java.util.ArrayList;
import java.util.List;

/** Which pictures of a file are wanted: one of the four ways. */
public record ThumbChoice(double every, List<Double> at, int count, boolean scenes) {
  public static ThumbChoice every(double seconds) {
    return new ThumbChoice(seconds, List.of(), 0, false);
  }

  public static ThumbChoice at(List<Double> seconds) {
    return new ThumbChoice(0, seconds.stream().sorted().toList(), 0, false);
  }

  public static ThumbChoice count(int pictures) {
    return new ThumbChoice(0, List.of(), pictures, false);
  }

  public static ThumbChoice ofScenes() {
    return new ThumbChoice(0, List.of(), 0, true);
  }

  /** True where the file's length must be known. */
  boolean needsLength() {
    return count > 0;
  }

  /** The times in seconds; a length of 0 is not known, and `every` then goes on without an end. */
  Iterable<Double> times(double length) {
    if (every > 0) return () -> new Steps(every, length);
    List<Double> times = new ArrayList<>(at);
    for (int i = 0; i < count; i++) times.add((i + 0.5) * length / count);
    return times;
  }

  /** Multiples of a step, below a length. */
  private static final class Steps implements java.util.Iterator<Double> {
    private final double step;
    private final double length;
    private long next;

    Steps(double step, double length) {
      this.step = step;
      this.length = length;
    }

    @Override
    public boolean hasNext() {
      return next == 0 || length <= 0 || next * step < length;
    }

    @Override
    public Double next() {
      if (!hasNext()) throw new java.util.NoSuchElementException();
      return next++ * step;
    }
  }
}
