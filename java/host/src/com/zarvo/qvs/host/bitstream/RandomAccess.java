package com.zarvo.qvs.host.bitstream;

import java.util.List;

/** Whether decoding can begin at a picture that a container takes for a key, with nothing wrong behind it. */
public final class RandomAccess {
  private static final int AVC_IDR = 5;
  private static final int AVC_SEI = 6;
  private static final int HEVC_FIRST = 16;
  private static final int HEVC_LAST = 21;
  private static final int RECOVERY_POINT = 6;
  private static final int HEAD_BYTES = 64;

  private RandomAccess() {}

  /** H.265: all that may stand in front of pictures shown later. */
  public static boolean isCleanHevc(List<byte[]> units) {
    return units.stream().anyMatch(unit -> type(unit, true) >= HEVC_FIRST && type(unit, true) <= HEVC_LAST);
  }

  /** H.264: an IDR picture, or a recovery point that is right from its own picture on; a gradual refresh is not. */
  public static boolean isCleanAvc(List<byte[]> units) {
    for (byte[] unit : units) {
      if (type(unit, false) == AVC_IDR) return true;
      if (type(unit, false) == AVC_SEI && recoversAtOnce(unit)) return true;
    }
    return false;
  }

  private static int type(byte[] unit, boolean hevc) {
    if (unit.length == 0) return -1;
    return hevc ? unit[0] >> 1 & 63 : unit[0] & 31;
  }

  // A count of pictures until all is right, coded so that a first bit of 1 says none.
  private static boolean recoversAtOnce(byte[] sei) {
    byte[] plain = NalUnits.withoutEscapes(sei, Math.max(sei.length, HEAD_BYTES));
    for (int at = 1; at + 2 < sei.length; ) {
      int type = 0;
      for (; at + 2 < sei.length && (plain[at] & 0xff) == 0xff; at++) type += 0xff;
      type += plain[at++] & 0xff;
      int size = 0;
      for (; at + 1 < sei.length && (plain[at] & 0xff) == 0xff; at++) size += 0xff;
      size += plain[at++] & 0xff;
      if (type == RECOVERY_POINT) return size > 0 && at < sei.length && (plain[at] & 0x80) != 0;
      at += size;
    }
    return false;
  }

  /**
   * True where an MPEG picture brings the header that decoders begin with.
   *
   * @param from first number of the headers' start codes
   * @param to last one
   */
  public static boolean hasHeader(byte[] picture, int from, int to) {
    for (int i = 0; i + 3 < Math.min(picture.length, HEAD_BYTES); i++) {
      int code = picture[i + 3] & 0xff;
      if (picture[i] == 0 && picture[i + 1] == 0 && picture[i + 2] == 1 && code >= from && code <= to) return true;
    }
    return false;
  }
}
