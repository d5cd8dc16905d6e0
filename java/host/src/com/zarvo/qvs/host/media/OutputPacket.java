package com.zarvo.qvs.host.media;

/**
 * One packet on its way into a container; all times in units of its stream.
 *
 * @param dts decoding time, which grows from packet to packet
 * @param duration 0 when unknown
 * @param discard sound: length at the packet's end that is not to be heard
 */
public record OutputPacket(
    byte[] data, int offset, int length, long pts, long dts, long duration, long discard, boolean key) {

  /** A packet that is decoded at the time at which it is shown. */
  static OutputPacket inOrder(byte[] data, int offset, int length, long pts, boolean key) {
    return new OutputPacket(data, offset, length, pts, pts, 0, 0, key);
  }

  /** The same with other bytes. */
  OutputPacket holding(byte[] bytes) {
    return new OutputPacket(bytes, 0, bytes.length, pts, dts, duration, discard, key);
  }

  /** The same, lasting so long. */
  OutputPacket lasting(long units) {
    return new OutputPacket(data, offset, length, pts, dts, units, discard, key);
  }

  /** The same at other times. */
  public OutputPacket at(long otherPts, long otherDts) {
    return new OutputPacket(data, offset, length, otherPts, otherDts, duration, discard, key);
  }
}
