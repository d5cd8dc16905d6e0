package com.zarvo.qvs.host.bitstream;

import java.io.ByteArrayOutputStream;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Access units of H.264 and H.265 taken apart and put together again, in either of their two forms. */
public final class NalUnits {
  public static final int LENGTH_BYTES = 4;

  private NalUnits() {}

  /** True for the form with start codes; empty bytes count as such. */
  public static boolean hasStartCodes(byte[] bytes) {
    if (bytes.length < 4) return bytes.length == 0;
    return bytes[0] == 0 && bytes[1] == 0 && (bytes[2] == 1 || bytes[2] == 0 && bytes[3] == 1);
  }

  /** The units between start codes, without the zeros that fill up between them. */
  public static List<byte[]> ofStartCodes(byte[] bytes) {
    List<byte[]> units = new ArrayList<>();
    int begin = -1;
    for (int at = nextStartCode(bytes, 0); ; at = nextStartCode(bytes, begin)) {
      int end = Math.min(at, bytes.length);
      if (begin >= 0) {
        while (end > begin && bytes[end - 1] == 0) end--;
        if (end > begin) units.add(Arrays.copyOfRange(bytes, begin, end));
      }
      if (at >= bytes.length) return units;
      begin = at + 3;
    }
  }

  private static int nextStartCode(byte[] bytes, int from) {
    for (int i = from + 2; i < bytes.length; i++) {
      // A third byte above 1 cannot belong to a code: go on behind it.
      if ((bytes[i] & 0xff) > 1) i += 2;
      else if (bytes[i] == 1 && bytes[i - 1] == 0 && bytes[i - 2] == 0) return i - 2;
    }
    return bytes.length;
  }

  /** The units behind lengths of the given size; damaged lengths end the list. */
  public static List<byte[]> ofLengths(byte[] bytes, int offset, int length, int lengthBytes) {
    List<byte[]> units = new ArrayList<>();
    int end = offset + length;
    for (int at = offset; at + lengthBytes < end; ) {
      long size = 0;
      for (int i = 0; i < lengthBytes; i++) size = size << 8 | bytes[at++] & 0xff;
      if (size <= 0 || size > end - at) return units;
      units.add(Arrays.copyOfRange(bytes, at, at + (int) size));
      at += (int) size;
    }
    return units;
  }

  /** The units one behind the other, each behind its length. */
  public static byte[] withLengths(List<byte[]> units, int lengthBytes) {
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    for (byte[] unit : units) append(out, unit, lengthBytes);
    return out.toByteArray();
  }

  /** The first bytes of a unit without the 3 behind two zeros that keeps start codes out; 0 where it is shorter. */
  static byte[] withoutEscapes(byte[] unit, int length) {
    byte[] plain = new byte[length];
    int zeros = 0;
    for (int from = 0, to = 0; from < unit.length && to < length; from++) {
      boolean escape = zeros >= 2 && unit[from] == 3;
      if (!escape) plain[to++] = unit[from];
      zeros = unit[from] == 0 ? zeros + 1 : 0;
    }
    return plain;
  }

  static void append(ByteArrayOutputStream out, byte[] unit, int lengthBytes) {
    for (int i = lengthBytes - 1; i >= 0; i--) out.write(unit.length >> 8 * i);
    out.write(unit, 0, unit.length);
  }
}
