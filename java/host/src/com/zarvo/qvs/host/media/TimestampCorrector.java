package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Rational;
import java.util.ArrayList;
import java.util.List;

/**
 * Lets the times of a file go on where they jump back, as they do where recordings were joined. Pictures and sound
 * that belong together are moved by the same time, so they stay in step; jumps ahead are gaps and stay.
 */
public final class TimestampCorrector {
  // Further back than pictures that are shown in another order than they are coded in.
  private static final long JUMP_MS = 1000;
  private static final int REORDERED_FRAMES = 17;
  // Sound that begins anew, as each link of a chained Ogg file does, however short the one before; packets that lie
  // over each other do not go back as far as to the first.
  private static final long RESTART_MS = 100;

  private final List<Long> offsetsMs = new ArrayList<>(List.of(0L));
  private final Stream[] streams = {new Stream(), new Stream()};

  /** The packet at its mended time; `unit` is that of its times. */
  public MediaPacket correct(MediaPacket packet, Rational unit) {
    Stream stream = streams[packet.kind().ordinal()];
    stream.longestMs = Math.max(stream.longestMs, unit.toMilliseconds(packet.duration()));
    if (!stream.begun) stream.begin(packet.timecodeMs());
    else if (jumps(stream, packet)) enterNext(stream, packet.timecodeMs());
    stream.lastMs = packet.timecodeMs();
    long offset = offsetsMs.get(stream.part);
    stream.endMs = Math.max(stream.endMs, packet.timecodeMs() + offset + unit.toMilliseconds(packet.duration()));
    return offset == 0 ? packet : moved(packet, offset, unit);
  }

  /** True once times had to be moved. */
  boolean hasMoved() {
    return offsetsMs.size() > 1;
  }

  private static boolean jumps(Stream stream, MediaPacket packet) {
    long backMs = stream.lastMs - packet.timecodeMs();
    if (packet.kind() == MediaKind.VIDEO) return backMs > Math.max(JUMP_MS, REORDERED_FRAMES * stream.longestMs);
    boolean restarts = packet.timecodeMs() <= stream.firstMs + RESTART_MS / 2;
    return backMs > (restarts ? RESTART_MS : JUMP_MS);
  }

  // The stream that jumps first says by how much; the other follows when it jumps.
  private void enterNext(Stream stream, long timeMs) {
    stream.part++;
    stream.firstMs = timeMs;
    if (stream.part == offsetsMs.size()) offsetsMs.add(Math.max(streams[0].endMs, streams[1].endMs) - timeMs);
  }

  private static MediaPacket moved(MediaPacket packet, long offsetMs, Rational unit) {
    long pts = packet.pts() + Math.round((double) offsetMs * unit.den() / (1000.0 * unit.num()));
    return packet.at(pts, unit.toMilliseconds(pts));
  }

  /** Where one stream is; times of the file but for the end. */
  private static final class Stream {
    private int part;
    private long longestMs;
    private boolean begun;
    private long firstMs;
    private long lastMs;
    private long endMs = Long.MIN_VALUE / 2;

    void begin(long timeMs) {
      begun = true;
      firstMs = timeMs;
      lastMs = timeMs;
    }
  }
}
