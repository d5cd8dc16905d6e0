package com.zarvo.qvs.host;

import java.util.ArrayDeque;
import java.util.Deque;

/** Packets of a reader in their order, their times mended, with a look at those to come. */
final class MediaFeed {
  private static final long MAX_START_BYTES = 256L << 20;
  private static final long MAX_BETWEEN_BYTES = 4L << 20;

  private final MediaReader reader;
  private final Deque<MediaPacket> ahead = new ArrayDeque<>();
  private final JumpMender mender = new JumpMender();
  private long aheadBytes;

  MediaFeed(MediaReader reader) {
    this.reader = reader;
  }

  MediaPacket next() throws MediaException {
    MediaPacket packet = ahead.isEmpty() ? read() : ahead.remove();
    aheadBytes = ahead.isEmpty() ? 0 : aheadBytes - packet.data().length;
    return packet;
  }

  /** The next packet of a kind, null when there is none or only far ahead. */
  MediaPacket following(MediaKind kind) throws MediaException {
    return peek(kind, 0, MAX_BETWEEN_BYTES);
  }

  /** The n-th packet of a kind that `next` has not given yet, counted from 0; null when there is none. */
  MediaPacket peek(MediaKind kind, int n) throws MediaException {
    return peek(kind, n, MAX_START_BYTES);
  }

  private MediaPacket peek(MediaKind kind, int n, long maxBytes) throws MediaException {
    int found = 0;
    for (MediaPacket packet : ahead) if (packet.kind() == kind && found++ == n) return packet;
    while (aheadBytes < maxBytes) {
      MediaPacket packet = read();
      if (packet == null) return null;
      ahead.add(packet);
      aheadBytes += packet.data().length;
      if (packet.kind() == kind && found++ == n) return packet;
    }
    return null;
  }

  private MediaPacket read() throws MediaException {
    MediaPacket packet = reader.next();
    if (packet == null) return null;
    boolean picture = packet.kind() == MediaKind.VIDEO;
    return mender.mend(packet, picture ? reader.video().timeBase() : reader.audio().timeBase());
  }
}
