package com.zarvo.qvs.host.bitstream;

import java.util.List;

/**
 * What decoders must be able to do, as the sequence parameter set of a stream says it.
 *
 * @param profile H.264: profile_idc, H.265: tier and profile in one byte; 0 where the stream has no set
 * @param level H.264: ten times the level, 9 for 1b; H.265: thirty times
 */
public record StreamProfile(int profile, int level) {
  private static final StreamProfile UNKNOWN = new StreamProfile(0, 0);
  private static final int AVC_SPS = 7;
  private static final int AVC_LEVEL_1B = 9;
  private static final int AVC_LEVEL_11 = 11;
  private static final int AVC_CONSTRAINT_3 = 0x10;
  private static final int HEVC_SPS = 33;
  private static final int HEVC_PROFILE_AT = 3;
  private static final int HEVC_LEVEL_AT = 14;

  /** Of the parameter sets of an access unit; `hevc` tells H.265 from H.264. */
  public static StreamProfile of(boolean hevc, List<byte[]> sets) {
    for (byte[] unit : sets) {
      int type = unit.length == 0 ? -1 : hevc ? unit[0] >> 1 & 63 : unit[0] & 31;
      if (hevc && type == HEVC_SPS) return ofHevc(unit);
      if (!hevc && type == AVC_SPS && unit.length > 3) return ofAvc(unit);
    }
    return UNKNOWN;
  }

  private static StreamProfile ofAvc(byte[] unit) {
    int level = unit[3] & 0xff;
    // In the older profiles 1b is 1.1 with a flag.
    boolean is1b = level == AVC_LEVEL_11 && (unit[2] & AVC_CONSTRAINT_3) != 0 && (unit[1] & 0xff) < 100;
    return new StreamProfile(unit[1] & 0xff, is1b ? AVC_LEVEL_1B : level);
  }

  private static StreamProfile ofHevc(byte[] unit) {
    if (unit.length <= HEVC_LEVEL_AT) return UNKNOWN;
    byte[] head = NalUnits.withoutEscapes(unit, HEVC_LEVEL_AT + 1);
    return new StreamProfile(head[HEVC_PROFILE_AT] & 0x3f, head[HEVC_LEVEL_AT] & 0xff);
  }
}
