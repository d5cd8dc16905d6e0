package com.zarvo.qvs.host.bitstream;

import java.nio.ByteBuffer;
import java.util.Arrays;
import java.util.HexFormat;

/**
 * A break in a programme begins, or the programme goes on.
 *
 * @param out true where the break begins
 * @param eventId the same for the beginning and the end of a break
 * @param durationMs how long it is meant to be, 0 when nobody said
 * @param autoReturn true where the programme goes on after that without another word
 * @param programId of the programme, 0 for none
 */
public record SpliceCue(boolean out, long eventId, long durationMs, boolean autoReturn, int programId) {
  private static final int CRC_POLYNOMIAL = 0x04C11DB7;
  private static final int TICKS_A_MS = 90;

  /** The same as the section that transport streams and playlists know it by, for this very moment, in hexadecimal. */
  public String section() {
    boolean timed = out && durationMs > 0;
    ByteBuffer command = ByteBuffer.allocate(timed ? 15 : 10);
    command.putInt((int) eventId).put((byte) 0x7F).put((byte) ((out ? 0x80 : 0) | 0x5F | (timed ? 0x20 : 0)));
    if (timed) {
      long ticks = durationMs * TICKS_A_MS & 0x1FFFFFFFFL;
      command.put((byte) ((autoReturn ? 0x80 : 0) | 0x7E | ticks >> 32)).putInt((int) ticks);
    }
    command.putShort((short) programId).putShort((short) 0);
    int length = 11 + command.capacity() + 2 + 4;
    ByteBuffer section = ByteBuffer.allocate(3 + length);
    section.put((byte) 0xFC).putShort((short) (0x3000 | length)).put(new byte[7]);
    section.putShort((short) (0xFFF0 | command.capacity() >> 8)).put((byte) command.capacity()).put((byte) 5);
    section.put(command.array()).putShort((short) 0);
    section.putInt(crc(Arrays.copyOf(section.array(), section.position())));
    return HexFormat.of().withUpperCase().formatHex(section.array());
  }

  private static int crc(byte[] bytes) {
    int crc = -1;
    for (byte one : bytes) {
      crc ^= one << 24;
      for (int bit = 0; bit < 8; bit++) crc = crc << 1 ^ (crc < 0 ? CRC_POLYNOMIAL : 0);
    }
    return crc;
  }

  @Override
  public String toString() {
    String length = out && durationMs > 0 ? " for " + durationMs / 1000.0 + " s" : "";
    return (out ? "out" : "in") + ", event " + eventId + length;
  }
}
