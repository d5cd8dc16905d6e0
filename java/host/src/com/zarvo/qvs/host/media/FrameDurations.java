package com.zarvo.qvs.host.media;

import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.List;
import java.util.TreeSet;

/**
 * Gives each coded picture the time until the next one is shown. A picture waits until that is known, which takes one
 * more picture, and as many as the coder's order is off with pictures that are coded from later ones.
 */
final class FrameDurations {
  private final Deque<OutputPacket> waiting = new ArrayDeque<>();
  private final TreeSet<Long> shown = new TreeSet<>();
  private long lastInterval;

  /** Takes a picture, in the order of decoding; what is ready now. */
  List<OutputPacket> add(OutputPacket packet) {
    waiting.add(packet);
    shown.add(packet.pts());
    List<OutputPacket> ready = new ArrayList<>();
    // No picture to come is shown before it is decoded.
    for (Long next = nextOf(waiting.peek()); next != null && next <= packet.dts(); next = nextOf(waiting.peek())) {
      ready.add(takeWith(next));
      if (waiting.isEmpty()) break;
    }
    return ready;
  }

  /**
   * The pictures that still wait.
   *
   * @param end where the last one stops being shown; at or before its time when unknown: it then lasts as long as the
   *     one before
   */
  List<OutputPacket> finish(long end) {
    List<OutputPacket> ready = new ArrayList<>();
    while (!waiting.isEmpty()) {
      Long next = nextOf(waiting.peek());
      long last = waiting.peek().pts();
      ready.add(takeWith(next != null ? next : end > last ? end : last + lastInterval));
    }
    return ready;
  }

  private Long nextOf(OutputPacket packet) {
    return packet == null ? null : shown.higher(packet.pts());
  }

  private OutputPacket takeWith(long next) {
    OutputPacket packet = waiting.remove();
    lastInterval = next - packet.pts();
    long earliest = waiting.stream().mapToLong(OutputPacket::pts).min().orElse(packet.pts());
    shown.headSet(Math.min(earliest, packet.pts())).clear();
    return packet.lasting(lastInterval);
  }
}
