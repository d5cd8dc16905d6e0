package com.zarvo.qvs.api;

import java.nio.ByteBuffer;

/**
 * A coded packet that a ladder made.
 *
 * @param track number of the rung, or of the rendition of sound, counted from 0
 * @param sound true for sound
 * @param data the bytes: H.264 and H.265 with a length of four bytes before each unit, parameter sets before key
 *     pictures
 * @param pts when it is shown or heard, in units of `unit`
 * @param dts when it is to be decoded
 * @param unit seconds
 * @param key true where decoding can start
 */
public record CodedPacket(
    int track, boolean sound, ByteBuffer data, long pts, long dts, double unit, boolean key) {

  /** The bytes in an array of their own. */
  public byte[] bytes() {
    byte[] bytes = new byte[data.remaining()];
    data.duplicate().get(bytes);
    return bytes;
  }
}
