package com.zarvo.qvs.host.bitstream;

import java.nio.ByteBuffer;
import java.util.Arrays;

/** What an H.265 stream asks of a decoder, as its sequence parameter set says it. */
final class HevcProfile {
  static final int LENGTH = 12;
  private static final int FLAGS_AT = 1;
  private static final int CONSTRAINTS_AT = 5;
  private static final int LEVEL_AT = 11;
  private static final int LAYERS_AT = 2;
  private static final int PROFILE_AT = 3;

  private final byte[] head;

  /** `sps` with its two bytes of header; what lacks in a short one is 0. */
  HevcProfile(byte[] sps) {
    head = NalUnits.withoutEscapes(sps, PROFILE_AT + LENGTH);
  }

  /** Profile, tier and level in the form that sets and records have in common. */
  byte[] bytes() {
    return Arrays.copyOfRange(head, PROFILE_AT, PROFILE_AT + LENGTH);
  }

  /** Layers of time in the stream. */
  int layers() {
    return (head[LAYERS_AT] >> 1 & 7) + 1;
  }

  /** True where one may change to a higher layer anywhere. */
  boolean layersNested() {
    return (head[LAYERS_AT] & 1) != 0;
  }

  /** As the CODECS attribute of a playlist has it: "hvc1.1.6.L93.90". */
  String name() {
    byte[] profile = bytes();
    String space = new String[] {"", "A", "B", "C"}[profile[0] >> 6 & 3];
    // The flags are told with the first one lowest.
    int flags = Integer.reverse(ByteBuffer.wrap(profile).getInt(FLAGS_AT));
    String tier = (profile[0] & 0x20) != 0 ? "H" : "L";
    StringBuilder name = new StringBuilder("hvc1.").append(space).append(profile[0] & 31);
    name.append('.').append(Integer.toHexString(flags).toUpperCase());
    name.append('.').append(tier).append(profile[LEVEL_AT] & 0xff);
    int end = LEVEL_AT;
    while (end > CONSTRAINTS_AT && profile[end - 1] == 0) end--;
    for (int i = CONSTRAINTS_AT; i < end; i++) name.append(String.format(".%X", profile[i]));
    return name.toString();
  }
}
