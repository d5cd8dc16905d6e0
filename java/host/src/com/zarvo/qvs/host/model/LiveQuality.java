package com.zarvo.qvs.host.model;

import java.util.Set;

/**
 * How closely the quality of renditions is watched while they are made.
 *
 * @param perSecond pictures of each rendition that are measured per second of input, at most
 * @param cpuPercent what measuring may take of the process's CPU time; fewer pictures are measured where it would take more
 */
public record LiveQuality(double perSecond, double cpuPercent) {
  /** Below the 2 % that whoever watches may count on, for what is not counted: copies of pictures that wait. */
  private static final double USUAL_PERCENT = 1.5;

  private static final double MOST_PER_SECOND = 1000;

  public LiveQuality {
    if (!(perSecond > 0 && perSecond <= MOST_PER_SECOND))
      throw new IllegalArgumentException("pictures measured per second are outside 0 to 1000");
    if (!(cpuPercent > 0 && cpuPercent <= 100)) throw new IllegalArgumentException("cpu is outside 0 to 100 percent");
  }

  /** Reads "2" or "2,cpu=10". */
  public static LiveQuality parse(String text) {
    SpecText parts = new SpecText(text, Set.of("cpu"));
    return new LiveQuality(number(parts.head), number(parts.get("cpu", String.valueOf(USUAL_PERCENT))));
  }

  private static double number(String text) {
    try {
      return Double.parseDouble(text);
    } catch (NumberFormatException e) {
      throw new IllegalArgumentException("'" + text + "' is not a number");
    }
  }
}
