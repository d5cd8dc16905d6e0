package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.media.MediaPacket;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Times and lengths of all pictures of an input, in the order of the file: 13 bytes a picture, for days of it. */
final class PacketList {
  private static final int REORDERED_FRAMES = 8;

  private long[] pts = new long[1 << 12];
  private int[] bytes = new int[pts.length];
  private boolean[] hidden = new boolean[pts.length];
  private int size;

  void add(MediaPacket packet) {
    if (size == pts.length) {
      pts = Arrays.copyOf(pts, 2 * size);
      bytes = Arrays.copyOf(bytes, 2 * size);
      hidden = Arrays.copyOf(hidden, 2 * size);
    }
    pts[size] = packet.pts();
    bytes[size] = packet.data().length;
    hidden[size++] = packet.hidden();
  }

  int size() {
    return size;
  }

  long pts(int packet) {
    return pts[packet];
  }

  /** When the first picture is shown. Those that are shown before the first coded one follow it at once. */
  long earliest() {
    long first = Long.MAX_VALUE;
    for (int i = 0; i < Math.min(size, REORDERED_FRAMES); i++) {
      if (i > 0 && pts[i] >= pts[0]) break;
      if (!hidden[i]) first = Math.min(first, pts[i]);
    }
    return first == Long.MAX_VALUE ? pts[0] : first;
  }

  /** Behind the last picture that is shown before `to`, of those from the key picture `start` on; `start` for none. */
  int endOf(int start, long to) {
    int end = start;
    // They precede, in the file, all pictures of that key that are shown behind it.
    for (int i = start + 1; i < size && pts[i] < to; i++) end = i + 1;
    return end;
  }

  /** Of places that are key pictures those behind which, once its own earlier pictures have come, no other does. */
  List<Integer> parting(List<Integer> keys) {
    List<Integer> kept = new ArrayList<>();
    long least = Long.MAX_VALUE;
    int at = size;
    for (int i = keys.size() - 1; i >= 0; i--) {
      int end = Math.max(keys.get(i) + 1, endOf(keys.get(i), pts[keys.get(i)]));
      for (; at > end; at--) if (!hidden[at - 1]) least = Math.min(least, pts[at - 1]);
      if (least > pts[keys.get(i)]) kept.add(0, keys.get(i));
    }
    return kept;
  }

  /** The times of a range of packets that are shown in a span of time, in order. */
  long[] shown(int from, int end, long fromPts, long toPts) {
    long[] found = new long[end - from];
    int count = 0;
    for (int i = from; i < end; i++) if (!hidden[i] && pts[i] >= fromPts && pts[i] < toPts) found[count++] = pts[i];
    found = Arrays.copyOf(found, count);
    Arrays.sort(found);
    return found;
  }

  long sum(int from, int end) {
    PacketSum sum = new PacketSum();
    for (int i = from; i < end; i++) sum.add(pts[i], bytes[i]);
    return sum.value();
  }
}
