package com.zarvo.qvs.host.replay;

import java.io.Closeable;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.channels.FileChannel;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.Comparator;
import java.util.PriorityQueue;
import java.util.zip.CRC32;

/**
 * The chunks of a recording by their number. Each slot of the file is a run of them; the runs are merged, so that only
 * the slots that are under way lie in memory. Believes nothing of what the file says.
 */
final class RecordingChunks implements Closeable {
  static final int SLOT_BYTES = 1 << 20;
  private static final long MAGIC = 0x3130434552535651L;
  private static final int SLOT_HEADER = 16;
  private static final int CHUNK_HEADER = 24;
  private static final int ALIGNMENT = 8;

  /** The bytes are good until the next call of `next`. */
  record Chunk(long number, long flags, ByteBuffer bytes) {}

  private final FileChannel channel;
  private final PriorityQueue<Slot> slots = new PriorityQueue<>(Comparator.comparingLong(slot -> slot.number));
  private String damage;

  RecordingChunks(Path file) throws IOException, RecordingException {
    channel = FileChannel.open(file, StandardOpenOption.READ);
    boolean ready = false;
    try {
      for (long at = 0; at < channel.size(); at += SLOT_BYTES) addSlot(file, at);
      if (slots.isEmpty()) throw new RecordingException(file + " is no recording of native calls");
      ready = true;
    } finally {
      if (!ready) channel.close();
    }
  }

  private void addSlot(Path file, long at) throws IOException, RecordingException {
    ByteBuffer header = read(at, SLOT_HEADER);
    boolean known = header.remaining() == SLOT_HEADER && header.getLong() == MAGIC;
    if (!known && at == 0) throw new RecordingException(file + " is no recording of native calls");
    if (known) slots.add(new Slot(at, header.getLong()));
    else if (!isEmpty(header.rewind())) tellDamage(at, "the head of a slot");
  }

  // Room that was had, and not yet used.
  private static boolean isEmpty(ByteBuffer bytes) {
    while (bytes.hasRemaining()) if (bytes.get() != 0) return false;
    return true;
  }

  /** The next one, null at the end. */
  Chunk next() throws IOException {
    for (Slot slot = slots.poll(); slot != null; slot = slots.poll()) {
      if (slot.bytes == null) {
        // Until then it stood where its slot began, at or before its first chunk.
        slot.load();
        if (slot.hasNext()) slots.add(slot);
        continue;
      }
      Chunk chunk = slot.take();
      if (slot.hasNext()) slots.add(slot);
      if (chunk != null) return chunk;
    }
    return null;
  }

  /** Where the file was first found damaged, null where it was not. */
  String damage() {
    return damage;
  }

  private void tellDamage(long at, String what) {
    if (damage == null) damage = what + " at byte " + at + " is damaged";
  }

  private ByteBuffer read(long at, int length) throws IOException {
    ByteBuffer bytes = ByteBuffer.allocate(length).order(ByteOrder.LITTLE_ENDIAN);
    while (bytes.hasRemaining() && channel.read(bytes, at + bytes.position()) >= 0) {}
    return bytes.flip();
  }

  @Override
  public void close() throws IOException {
    channel.close();
  }

  private final class Slot {
    private final long at;
    private long number;
    private ByteBuffer bytes;
    private int position = SLOT_HEADER;

    Slot(long at, long firstNumber) {
      this.at = at;
      this.number = firstNumber;
    }

    void load() throws IOException {
      bytes = read(at, SLOT_BYTES);
    }

    /** True where a finished chunk follows; else what lies here is empty, or left over from an earlier use. */
    boolean hasNext() {
      if (bytes == null) return true;
      if (bytes.limit() - position < CHUNK_HEADER || bytes.getInt(position) == 0) return false;
      long following = bytes.getLong(position + 8);
      if (Long.compareUnsigned(following, number) < 0) return false;
      number = following;
      return true;
    }

    Chunk take() {
      if (!hasNext()) return null;
      int length = bytes.getInt(position);
      long begin = at + position;
      if (length < 0 || length > bytes.limit() - position - CHUNK_HEADER || !isWhole(length)) {
        tellDamage(begin, bytes.limit() < SLOT_BYTES ? "the file is cut off, the chunk" : "the chunk");
        position = bytes.limit();
        return null;
      }
      ByteBuffer content = bytes.slice(position + CHUNK_HEADER, length).order(ByteOrder.LITTLE_ENDIAN);
      Chunk chunk = new Chunk(number, bytes.getLong(position + 16), content);
      position += (CHUNK_HEADER + length + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
      position = Math.min(position, bytes.limit());
      number++;
      return chunk;
    }

    private boolean isWhole(int length) {
      CRC32 sum = new CRC32();
      sum.update(bytes.array(), position + 8, CHUNK_HEADER - 8 + length);
      return (int) sum.getValue() == bytes.getInt(position + 4);
    }
  }
}
