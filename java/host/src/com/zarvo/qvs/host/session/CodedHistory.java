package com.zarvo.qvs.host.session;

import java.util.ArrayDeque;
import java.util.Deque;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.ArrayList;
import java.util.Map;

/**
 * What it takes to decode the newest pictures once more: the coded units since the key picture before the last one, and
 * which times their pictures were given. Decoder and encoders together hold back less than that.
 */
final class CodedHistory {
  private static final int MAX_UNITS = 1000;
  private static final int MAX_PICTURES = 1000;

  /** A unit as the decoder got it. */
  record Unit(byte[] config, byte[] data, long time, boolean key, long type) {}

  private final Deque<Unit> units = new ArrayDeque<>();
  private int keys;
  private final Map<Long, List<Long>> delivered =
      new LinkedHashMap<>() {
        private static final long serialVersionUID = 1;

        @Override
        protected boolean removeEldestEntry(Map.Entry<Long, List<Long>> eldest) {
          return size() > MAX_PICTURES;
        }
      };

  void add(Unit unit) {
    units.add(unit);
    if (unit.key()) keys++;
    while (keys > 2 || units.size() > MAX_UNITS) dropFirst();
    // Nothing can be decoded from a unit on that needs one before it.
    while (keys > 0 && !units.peek().key()) dropFirst();
  }

  private void dropFirst() {
    if (units.remove().key()) keys--;
  }

  /** A picture came out of the decoder with a timecode and was given a time; none where it is not to be shown. */
  void delivered(long timecode, List<Long> times) {
    delivered.put(timecode, times);
  }

  List<Unit> units() {
    return new ArrayList<>(units);
  }

  /** The times of pictures that came out so far, by their timecodes. */
  Map<Long, List<Long>> pictures() {
    return new HashMap<>(delivered);
  }
}
