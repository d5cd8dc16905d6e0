package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import java.util.HashSet;
import java.util.Set;
import java.util.TreeMap;
import java.util.TreeSet;

/**
 * Keeps the exact time of each picture while the native side carries whole milliseconds: a picture goes in with a
 * timecode that no other picture has, and comes out, decoded or coded again, with its exact time.
 *
 * <p>Decoded pictures come in the order in which they are shown. Where a container has no such times, or wrong ones,
 * that order is what they are made of.
 */
public final class TimecodeMap {
  // Times are dropped when they lie this many pictures back; neither decoder nor encoder holds back as many.
  private static final int KEPT = 512;

  private enum Mode {
    /** Pictures keep their times. */
    CARRIED,
    /** The times that went in are given to the pictures in their order. */
    SORTED,
    /** Pictures follow each other at the frame rate. */
    COUNTED
  }

  private final boolean reorders;
  private final Rational unit;
  private final Rational frameRate;
  private final TreeMap<Long, Long> exact = new TreeMap<>();
  private final TreeSet<Long> waiting = new TreeSet<>();
  private final Set<Long> hidden = new HashSet<>();
  private Mode mode;
  private long lastIn = Long.MIN_VALUE;
  private long lastOut = Long.MIN_VALUE;
  private long firstPts;
  private long counted;

  /** For pictures that come in the order in which they are shown. */
  TimecodeMap() {
    this(false, new Rational(1, 1000), new Rational(0, 1));
  }

  /** `unit` is that of the exact times; `reorders` tells that packets come in another order. */
  TimecodeMap(boolean reorders, Rational unit, Rational frameRate) {
    this.reorders = reorders;
    this.unit = unit;
    this.frameRate = frameRate;
  }

  /** The timecode to give to the native side: the packet's milliseconds, or the next free one. */
  long assign(MediaPacket packet) {
    if (mode == null) start(packet);
    long timecode = packet.timecodeMs();
    if (!reorders && lastIn != Long.MIN_VALUE && timecode <= lastIn) timecode = lastIn + 1;
    while (exact.containsKey(timecode)) timecode++;
    lastIn = timecode;
    keep(timecode, packet.pts());
    waiting.add(timecode);
    if (waiting.size() > KEPT) waiting.pollFirst();
    if (packet.hidden()) hidden.add(timecode);
    return timecode;
  }

  /** A picture that goes in with its exact time, in milliseconds that grow. */
  long carry(long timecode) {
    keep(timecode, timecode);
    return lastOut = timecode;
  }

  private void start(MediaPacket packet) {
    firstPts = packet.pts();
    boolean steady = frameRate.num() > 0 && packet.timeKind() == MediaPacket.TimeKind.GUESSED;
    mode =
        !reorders || packet.timeKind() == MediaPacket.TimeKind.SHOWN
            ? Mode.CARRIED
            : steady ? Mode.COUNTED : Mode.SORTED;
  }

  /** True when the picture that went in with that timecode is not to be shown. Asked once. */
  boolean isHidden(long timecode) {
    return hidden.remove(timecode);
  }

  /** The timecode of the next decoded picture, which the native side gave with `carried`; they grow. */
  long delivered(long carried) {
    if (mode == Mode.COUNTED) return lastOut = timeOfCounted();
    if (mode == Mode.CARRIED && carried <= lastOut && reorders) mode = Mode.SORTED;
    if (mode == Mode.SORTED) return lastOut = nextSorted();
    waiting.remove(carried);
    return lastOut = carried;
  }

  /** The timecode of a second picture that follows the one delivered last after some seconds. */
  long deliveredAfter(double seconds) throws HostException {
    long units = Math.max(1, Math.round(seconds * unit.den() / unit.num()));
    return lastOut = follow(ptsOf(lastOut) + units);
  }

  /** The exact time of a picture, in units of the input's time base. */
  public long ptsOf(long timecode) throws HostException {
    Long pts = exact.get(timecode);
    if (pts == null) throw new HostException("the transcoder returned a packet of an unknown time: " + timecode);
    return pts;
  }

  private long timeOfCounted() {
    double seconds = (double) counted++ * frameRate.den() / frameRate.num();
    return follow(firstPts + Math.round(seconds * unit.den() / unit.num()));
  }

  private long nextSorted() {
    Long next = waiting.pollFirst();
    while (next != null && next <= lastOut) next = waiting.pollFirst();
    return next != null ? next : follow(exact.getOrDefault(lastOut, firstPts) + 1);
  }

  private long follow(long pts) {
    long timecode = Math.max(unit.toMilliseconds(pts), lastOut == Long.MIN_VALUE ? Long.MIN_VALUE : lastOut + 1);
    keep(timecode, pts);
    return timecode;
  }

  private void keep(long timecode, long pts) {
    exact.put(timecode, pts);
    if (exact.size() > KEPT) exact.pollFirstEntry();
  }
}
