package com.zarvo.qvs.host.media;

import java.util.ArrayDeque;
import java.util.Deque;

/**
 * Packets of a reader in their order, their times mended, with a look at those to come. Where input breaks, it ends:
 * what came before is worth keeping.
 */
public final class MediaFeed implements PacketLookahead {
  private static final long MAX_START_BYTES = 256L << 20;
  private static final long MAX_BETWEEN_BYTES = 4L << 20;
  // A live stream whose sound stops, or never starts, must not wait for it as long as such a file may.
  private static final long MAX_LIVE_START_MS = 10_000;
  private static final long MAX_LIVE_BETWEEN_MS = 1_000;

  private final MediaReader reader;
  private final Deque<MediaPacket> ahead = new ArrayDeque<>();
  private final TimestampCorrector corrector = new TimestampCorrector();
  private long aheadBytes;
  private String trouble;

  public MediaFeed(MediaReader reader) {
    this.reader = reader;
  }

  public MediaPacket next() throws MediaException {
    MediaPacket packet = ahead.isEmpty() ? read() : ahead.remove();
    aheadBytes = ahead.isEmpty() ? 0 : aheadBytes - packet.data().length;
    return packet;
  }

  /** The next packet of a kind, null when there is none or only far ahead. */
  public MediaPacket following(MediaKind kind) throws MediaException {
    return peek(kind, 0, MAX_BETWEEN_BYTES, MAX_LIVE_BETWEEN_MS);
  }

  @Override
  public MediaPacket peek(MediaKind kind, int n) throws MediaException {
    return peek(kind, n, MAX_START_BYTES, MAX_LIVE_START_MS);
  }

  /** What broke the input, null where it ended well. */
  public String trouble() {
    String shortfall = reader.shortfall();
    if (shortfall == null || trouble == null) return shortfall != null ? shortfall : trouble;
    return shortfall + " (" + trouble.substring(trouble.indexOf(": ") + 2) + ")";
  }

  /** True where times of the input were mended on the way. */
  public boolean hasMovedTimes() {
    return corrector.hasMoved();
  }

  private MediaPacket peek(MediaKind kind, int n, long maxBytes, long maxLiveMs) throws MediaException {
    int found = 0;
    for (MediaPacket packet : ahead) if (packet.kind() == kind && found++ == n) return packet;
    while (aheadBytes < maxBytes && !(reader.isLive() && aheadMs() > maxLiveMs)) {
      MediaPacket packet = read();
      if (packet == null) return null;
      ahead.add(packet);
      aheadBytes += packet.data().length;
      if (packet.kind() == kind && found++ == n) return packet;
    }
    return null;
  }

  private long aheadMs() {
    return ahead.isEmpty() ? 0 : ahead.getLast().timecodeMs() - ahead.getFirst().timecodeMs();
  }

  private MediaPacket read() throws MediaException {
    MediaPacket packet = trouble == null ? readOrEnd() : null;
    if (packet == null) return null;
    boolean frame = packet.kind() == MediaKind.VIDEO;
    return corrector.correct(packet, frame ? reader.video().timeBase() : reader.audio().timeBase());
  }

  private MediaPacket readOrEnd() throws MediaException {
    try {
      return reader.next();
    } catch (MediaException e) {
      if (!reader.isStarted()) throw e;
      trouble = e.getMessage();
      return null;
    }
  }
}
