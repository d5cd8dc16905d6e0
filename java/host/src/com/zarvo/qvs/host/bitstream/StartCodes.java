package com.zarvo.qvs.host.bitstream;

import java.io.ByteArrayOutputStream;
import java.util.List;

/**
 * Packets of a container in the form in which a stream stands alone: units of H.264 and H.265 behind start codes, and
 * before each key picture what its decoder must know.
 */
public final class StartCodes {
  private static final byte[] CODE = {0, 0, 0, 1};

  private final boolean prefixed;
  private final int lengthBytes;
  private final byte[] header;

  /**
   * @param units whether packets are made of units: H.264 and H.265
   * @param hevc which of them
   * @param config the container's configuration, may be empty
   */
  public StartCodes(boolean units, boolean hevc, byte[] config) {
    this.prefixed = units && !NalUnits.hasStartCodes(config);
    this.lengthBytes = prefixed ? ParameterSets.lengthBytes(hevc, config) : 0;
    this.header = prefixed ? join(ParameterSets.ofRecord(hevc, config).all()) : config;
  }

  /** The packet's bytes; a key picture's with the header in front. */
  public byte[] of(byte[] packet, boolean key) {
    byte[] body = prefixed ? join(NalUnits.ofLengths(packet, 0, packet.length, lengthBytes)) : packet;
    if (!key || header.length == 0) return body;
    byte[] whole = new byte[header.length + body.length];
    System.arraycopy(header, 0, whole, 0, header.length);
    System.arraycopy(body, 0, whole, header.length, body.length);
    return whole;
  }

  private static byte[] join(List<byte[]> units) {
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    for (byte[] unit : units) {
      out.writeBytes(CODE);
      out.writeBytes(unit);
    }
    return out.toByteArray();
  }
}
