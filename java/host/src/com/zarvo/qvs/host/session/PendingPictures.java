package com.zarvo.qvs.host.session;

import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.util.ArrayList;
import java.util.List;

/**
 * The pictures that an encoder took and has not answered, in the order in which they are shown. Packets are kept back
 * until no earlier picture lacks its own, so that where the encoder fails all that is missing comes behind all that
 * went out: with B pictures a packet may come before that of an earlier picture.
 */
final class PendingPictures {
  private final long[] targets;
  private final long[] times;
  private final boolean[] keys;
  private final boolean[] answered;
  private final List<TranscoderPacket> held = new ArrayList<>();
  private int count;

  /** Room for so many pictures, those of the pool. */
  PendingPictures(int capacity) {
    targets = new long[capacity];
    times = new long[capacity];
    keys = new boolean[capacity];
    answered = new boolean[capacity];
  }

  void add(long target, long time, boolean key) {
    targets[count] = target;
    times[count] = time;
    keys[count] = key;
    answered[count++] = false;
  }

  int count() {
    return count;
  }

  long target(int at) {
    return targets[at];
  }

  long time(int at) {
    return times[at];
  }

  /** True where a key picture was asked for. */
  boolean isKey(int at) {
    return keys[at];
  }

  /** Takes a packet; false where it belongs to no picture that waits for one. */
  boolean answer(TranscoderPacket packet) {
    long time = packet.timecode + packet.timecodeOffset;
    for (int i = 0; i < count; i++) {
      if (times[i] != time || answered[i]) continue;
      answered[i] = true;
      held.add(packet);
      return true;
    }
    return false;
  }

  /** How many packets can go out: those of the first pictures, once each of these has its own; else none. */
  int ready() {
    if (held.isEmpty()) return 0;
    int last = 0;
    for (int i = 0; i < count; i++) if (answered[i]) last = i;
    return held.size() == last + 1 ? held.size() : 0;
  }

  /** The packets that can go out, in the order in which they came. */
  List<TranscoderPacket> held() {
    return held;
  }

  /** The first pictures are done with, and their packets. */
  void removeReady(int ready) {
    count -= ready;
    System.arraycopy(targets, ready, targets, 0, count);
    System.arraycopy(times, ready, times, 0, count);
    System.arraycopy(keys, ready, keys, 0, count);
    System.arraycopy(answered, ready, answered, 0, count);
    held.clear();
  }

  /** Their pictures are of no use any more. */
  void clear() {
    held.clear();
    count = 0;
  }

  /** All pictures that are still here are to be encoded anew. */
  void forgetAnswers() {
    held.clear();
    for (int i = 0; i < count; i++) answered[i] = false;
  }
}
