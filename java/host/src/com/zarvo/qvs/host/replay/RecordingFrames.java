package com.zarvo.qvs.host.replay;

import java.io.ByteArrayOutputStream;
import java.io.Closeable;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Path;

/** The frames of a recording, put together from its chunks. */
final class RecordingFrames implements Closeable {
  private static final long FIRST = 1;
  private static final long LAST = 2;

  private final RecordingChunks chunks;
  private long expected = 1;
  private boolean gap;

  RecordingFrames(Path file) throws IOException, RecordingException {
    chunks = new RecordingChunks(file);
  }

  /** The next one, null at the end. Good until the next call. */
  ByteBuffer next() throws IOException {
    ByteArrayOutputStream parts = null;
    gap = false;
    for (RecordingChunks.Chunk chunk = chunks.next(); chunk != null; chunk = chunks.next()) {
      boolean follows = chunk.number() == expected;
      gap |= !follows;
      expected = chunk.number() + 1;
      boolean first = (chunk.flags() & FIRST) != 0;
      boolean last = (chunk.flags() & LAST) != 0;
      if (first && last) return chunk.bytes();
      if (first) parts = new ByteArrayOutputStream();
      else if (!follows) parts = null;
      if (parts == null) continue;
      byte[] bytes = new byte[chunk.bytes().remaining()];
      chunk.bytes().get(bytes);
      parts.writeBytes(bytes);
      if (last) return ByteBuffer.wrap(parts.toByteArray()).order(ByteOrder.LITTLE_ENDIAN);
    }
    return null;
  }

  /** True where something is missing in front of the frame that `next` gave. */
  boolean isBehindGap() {
    return gap;
  }

  /** Where the file was found damaged, null where it was not. */
  String damage() {
    return chunks.damage();
  }

  @Override
  public void close() throws IOException {
    chunks.close();
  }
}
