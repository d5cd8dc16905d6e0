package com.zarvo.qvs.host;

import java.util.TreeMap;

/**
 * Keeps the exact time of each picture while the native side carries whole milliseconds: a picture goes in with a
 * timecode that no other picture has, and its packets find their exact time by it.
 */
final class TimecodeMap {
  // Times are dropped when they lie this many pictures back; no encoder holds back as many.
  private static final int KEPT = 512;

  private final TreeMap<Long, Long> exact = new TreeMap<>();
  private long last = Long.MIN_VALUE;

  /** The timecode to give to the native side: the packet's milliseconds, or the next free one after the last. */
  long assign(MediaPacket packet) {
    long timecode = packet.timecodeMs();
    if (last != Long.MIN_VALUE && timecode <= last) timecode = last + 1;
    last = timecode;
    exact.put(timecode, packet.pts());
    if (exact.size() > KEPT) exact.pollFirstEntry();
    return timecode;
  }

  /** The exact time of a picture, in units of the input's time base. */
  long ptsOf(long timecode) throws HostException {
    Long pts = exact.get(timecode);
    if (pts == null) throw new HostException("the transcoder returned a packet of an unknown time: " + timecode);
    return pts;
  }
}
