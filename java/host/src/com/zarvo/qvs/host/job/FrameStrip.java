package com.zarvo.qvs.host.job;

import java.awt.image.BufferedImage;
import java.util.ArrayList;
import java.util.List;

/**
 * Gathers small pictures spread evenly over a stream of unknown length: whenever it is full, every other picture
 * goes and the distance doubles.
 */
final class FrameStrip {
  private static final int CAPACITY = 10;
  private static final long FIRST_DISTANCE_MS = 160;

  /** A picture and its time in milliseconds. */
  record Shot(long timecode, BufferedImage image) {}

  private final List<Shot> shots = new ArrayList<>();
  private long distance = FIRST_DISTANCE_MS;
  private long due = Long.MIN_VALUE;

  boolean wants(long timecode) {
    return timecode >= due;
  }

  void add(long timecode, BufferedImage image) {
    shots.add(new Shot(timecode, image));
    if (shots.size() == CAPACITY) {
      distance *= 2;
      for (int i = CAPACITY - 1; i > 0; i -= 2) shots.remove(i);
      due = shots.get(shots.size() - 1).timecode() + distance;
    } else {
      due = timecode + distance;
    }
  }

  /** At most `count` pictures, the first and the last among them. */
  List<Shot> pick(int count) {
    if (shots.size() <= count) return List.copyOf(shots);
    List<Shot> picked = new ArrayList<>();
    for (int i = 0; i < count; i++) picked.add(shots.get(i * (shots.size() - 1) / (count - 1)));
    return picked;
  }
}
