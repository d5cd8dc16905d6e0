package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.media.MediaPacket;
import java.nio.ByteBuffer;
import java.util.zip.CRC32;

/** Tells whether two readings of an input gave the same packets, by their times and lengths. */
final class PacketSum {
  private final CRC32 sum = new CRC32();
  private final ByteBuffer facts = ByteBuffer.allocate(Long.BYTES + Integer.BYTES);

  void add(MediaPacket packet) {
    add(packet.pts(), packet.data().length);
  }

  void add(long pts, int bytes) {
    sum.update(facts.clear().putLong(pts).putInt(bytes).flip());
  }

  long value() {
    return sum.getValue();
  }
}
