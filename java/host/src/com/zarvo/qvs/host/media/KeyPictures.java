package com.zarvo.qvs.host.media;

import java.util.ArrayList;
import java.util.List;

/**
 * Finds pictures of a file by their time, reading no more of it than it must. Where a file can't be searched it is read
 * once from front to back, and times must not fall from call to call.
 */
public final class KeyPictures {
  /** Pictures behind the wanted one that may still have come before it: more than any codec reorders. */
  private static final int REORDERED = 17;

  private static final long MAX_RUN_BYTES = 1L << 29;
  private static final double FIRST_STEP_SECONDS = 1;

  private final MediaReader reader;
  private final boolean searchable;
  private final long second;
  // What was read of a file that can't be searched: from the last key picture on, and a look ahead.
  private final List<MediaPacket> read = new ArrayList<>();
  private boolean atEnd;
  private boolean walking;

  public KeyPictures(MediaReader reader) {
    this.reader = reader;
    // Where the length isn't known, only reading on tells where the end is.
    this.searchable = reader.isSearchable() && reader.video().durationMs() > 0;
    this.second = reader.video().timeBase().ofMilliseconds(1000);
    reader.ignore(MediaKind.AUDIO);
  }

  /** The last key picture shown at or before a time, else the first of the file; null where it has none. */
  public MediaPacket at(long pts) throws MediaException {
    List<MediaPacket> run = runFrom(pts, 0);
    return run.isEmpty() ? null : run.get(0);
  }

  /**
   * The packets, in decode order, that lead from a key picture to the one shown at a time, which comes last; empty where
   * the file has no key picture.
   */
  public List<MediaPacket> runTo(long pts) throws MediaException {
    List<MediaPacket> run = runFrom(pts, REORDERED);
    int wanted = 0;
    for (int i = 1; i < run.size(); i++) {
      long time = run.get(i).pts();
      boolean later = time > run.get(wanted).pts();
      if (time <= pts && !run.get(i).hidden() && (later || run.get(wanted).pts() > pts)) wanted = i;
    }
    return run.isEmpty() ? run : run.subList(0, wanted + 1);
  }

  /** True once all of a file that can't be searched was read and nothing in it is shown as late as that. */
  public boolean isPast(long pts) {
    return atEnd && !searchable && read.stream().allMatch(packet -> packet.pts() < pts);
  }

  /** All key pictures from the first on, one a call; null at the end. `at` may come before, not between. */
  public MediaPacket next() throws MediaException {
    if (!walking) {
      walking = true;
      if (searchable) reader.seek(Long.MIN_VALUE / 2);
      else if (!read.isEmpty()) return read.get(0);
    }
    MediaPacket packet = reader.next();
    while (packet != null && !packet.key()) packet = reader.next();
    return packet;
  }

  private List<MediaPacket> runFrom(long pts, int beyond) throws MediaException {
    if (!searchable) return readOn(pts, beyond);
    List<MediaPacket> run = List.of();
    for (double back = 0; ; back = back * 2 + FIRST_STEP_SECONDS) {
      long from = pts - Math.round(back * second);
      reader.seek(Math.max(from, Long.MIN_VALUE / 2));
      run = collect(new ArrayList<>(), pts, beyond);
      boolean found = !run.isEmpty() && run.get(0).pts() <= pts;
      if (found || back * second > pts + second) return run;
    }
  }

  private List<MediaPacket> readOn(long pts, int beyond) throws MediaException {
    for (int i = read.size() - 1; i > 0; i--) {
      if (!read.get(i).key() || read.get(i).pts() > pts) continue;
      read.subList(0, i).clear();
      break;
    }
    if (!atEnd) collect(read, pts, beyond);
    return new ArrayList<>(read);
  }

  // From the last key picture at or before the time, or the first one of all, on. Where the first packet is such a
  // picture the index has led here, and nothing between is to be expected.
  private List<MediaPacket> collect(List<MediaPacket> run, long pts, int beyond) throws MediaException {
    long bytes = 0;
    long later = run.stream().filter(packet -> packet.pts() > pts).count();
    boolean first = true;
    while (later <= beyond) {
      MediaPacket packet = reader.next();
      if (packet == null) {
        atEnd = true;
        break;
      }
      if (packet.pts() > pts) later++;
      boolean starts = packet.key() && (packet.pts() <= pts || run.isEmpty());
      if (starts) {
        run.clear();
        bytes = 0;
      } else if (run.isEmpty()) {
        first = false;
        continue;
      }
      if (starts || beyond > 0 || !searchable) run.add(packet);
      bytes += packet.data().length;
      if (bytes > MAX_RUN_BYTES) throw new MediaException(reader.path() + ": too far from a key picture");
      if (first && starts && beyond == 0 && searchable) break;
      first = false;
    }
    return run;
  }
}
