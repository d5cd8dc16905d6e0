package com.zarvo.qvs.host.bitstream;

import com.zarvo.qvs.host.model.HostException;
import java.io.ByteArrayOutputStream;
import java.util.ArrayList;
import java.util.List;

/** Takes the packets out of Ogg pages of one stream. */
public final class OggPages {
  private static final int HEADER_LENGTH = 27;
  private static final int SEGMENT_COUNT_AT = 26;
  private static final int FULL_SEGMENT = 255;
  /** The stream's number, which is the time at which its encoder was made, and the page's checksum over that too. */
  private static final int[] BY_THE_CLOCK = {14, 15, 16, 17, 22, 23, 24, 25};

  private final ByteArrayOutputStream open = new ByteArrayOutputStream();

  /** The packets that end in these bytes, which must hold whole pages. */
  public List<byte[]> packets(byte[] pages, int offset, int length) throws HostException {
    List<byte[]> packets = new ArrayList<>();
    int end = offset + length;
    for (int at = offset; at < end; ) {
      if (end - at < HEADER_LENGTH || pages[at] != 'O' || pages[at + 1] != 'g') throw damaged();
      int segments = pages[at + SEGMENT_COUNT_AT] & 0xFF;
      int table = at + HEADER_LENGTH;
      int body = table + segments;
      for (int i = 0; i < segments; i++) {
        if (table + i >= end) throw damaged();
        int size = pages[table + i] & 0xFF;
        if (body + size > end) throw damaged();
        open.write(pages, body, size);
        body += size;
        if (size == FULL_SEGMENT) continue;
        packets.add(open.toByteArray());
        open.reset();
      }
      at = body;
    }
    return packets;
  }

  /** What begins with a page, without what differs from one run to the next; all else as it is. */
  public static byte[] comparable(byte[] bytes) {
    if (bytes.length < HEADER_LENGTH || bytes[0] != 'O' || bytes[1] != 'g' || bytes[2] != 'g' || bytes[3] != 'S') return bytes;
    byte[] copy = bytes.clone();
    for (int at : BY_THE_CLOCK) copy[at] = 0;
    return copy;
  }

  private static HostException damaged() {
    return new HostException("the encoder gave a page that is not whole");
  }
}
