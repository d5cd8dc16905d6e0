package com.zarvo.qvs.host.bitstream;

import com.zarvo.qvs.host.model.HostException;
import java.io.ByteArrayOutputStream;
import java.util.Arrays;

/** The three headers of a Vorbis stream in the form that containers keep: a count, lengths in runs of 255, the bytes. */
public final class VorbisHeaders {
  private static final int COUNT = 3;
  // Type 3, "vorbis", a vendor and a list of no length, the framing bit.
  private static final byte[] EMPTY_COMMENT = {3, 'v', 'o', 'r', 'b', 'i', 's', 0, 0, 0, 0, 0, 0, 0, 0, 1};

  private VorbisHeaders() {}

  public static byte[] join(byte[]... headers) {
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    out.write(headers.length - 1);
    for (int i = 0; i < headers.length - 1; i++) {
      for (int rest = headers[i].length; ; rest -= 255) {
        out.write(Math.min(rest, 255));
        if (rest < 255) break;
      }
    }
    for (byte[] header : headers) out.writeBytes(header);
    return out.toByteArray();
  }

  public static byte[][] split(byte[] config) throws HostException {
    if (config.length < COUNT || config[0] != COUNT - 1) throw new HostException("its Vorbis headers are missing");
    int[] lengths = new int[COUNT];
    int at = 1;
    for (int i = 0; i < COUNT - 1; i++) {
      int part;
      do {
        if (at == config.length) throw new HostException("its Vorbis headers are cut short");
        part = config[at++] & 0xFF;
        lengths[i] += part;
      } while (part == 255);
    }
    lengths[COUNT - 1] = config.length - at - lengths[0] - lengths[1];
    if (lengths[COUNT - 1] <= 0) throw new HostException("its Vorbis headers are cut short");
    byte[][] headers = new byte[COUNT][];
    for (int i = 0; i < COUNT; at += lengths[i++]) headers[i] = Arrays.copyOfRange(config, at, at + lengths[i]);
    return headers;
  }

  /** The same headers as the session's decoder wants them: each length in one byte, so comments are left out. */
  public static byte[] forDecoder(byte[] config) throws HostException {
    byte[][] headers = split(config);
    if (headers[0].length > 255) throw new HostException("its Vorbis headers are damaged");
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    out.write(COUNT - 1);
    out.write(headers[0].length);
    out.write(EMPTY_COMMENT.length);
    out.writeBytes(headers[0]);
    out.writeBytes(EMPTY_COMMENT);
    out.writeBytes(headers[2]);
    return out.toByteArray();
  }
}
