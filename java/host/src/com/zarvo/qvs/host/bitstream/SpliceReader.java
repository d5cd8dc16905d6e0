package com.zarvo.qvs.host.bitstream;

import java.io.ByteArrayOutputStream;
import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.List;

/**
 * Reads splice messages of automation systems (SCTE 104) out of packets of the vertical blanking (SMPTE 2010). What is
 * cut off or unknown is passed over.
 */
public final class SpliceReader {
  public static final int DID = 0x41;
  public static final int SID = 0x07;

  private static final int CONTINUED = 4;
  private static final int MORE_FOLLOW = 2;
  private static final int SEVERAL_OPERATIONS = 0xFFFF;
  private static final int SPLICE_REQUEST = 0x0101;
  private static final int TIME_SIGNAL = 0x0104;
  private static final int SEGMENTATION = 0x010B;
  private static final int MAX_MESSAGE_BYTES = 1 << 16;
  // After the operations' own time: none, UTC, timecode, contact closure.
  private static final int[] TIMESTAMP_BYTES = {0, 6, 4, 2};

  /**
   * What is asked for.
   *
   * @param cue null where the event of that number is called off
   * @param preRollMs from the packet's picture to the splice
   */
  public record Request(SpliceCue cue, long eventId, long preRollMs) {}

  private final ByteArrayOutputStream message = new ByteArrayOutputStream();

  /** Takes the words of a packet; what the message says, once it is whole. */
  public List<Request> accept(int[] words) {
    if (words == null || words.length < 2) return List.of();
    int descriptor = words[0] & 0xFF;
    if ((descriptor & CONTINUED) == 0) message.reset();
    for (int i = 1; i < words.length && message.size() < MAX_MESSAGE_BYTES; i++) message.write(words[i] & 0xFF);
    if ((descriptor & MORE_FOLLOW) != 0) return List.of();
    ByteBuffer bytes = ByteBuffer.wrap(message.toByteArray());
    message.reset();
    List<Request> requests = new ArrayList<>();
    try {
      readMessage(bytes, requests);
    } catch (BufferUnderflowException e) {
      return requests;
    }
    return requests;
  }

  private static int u8(ByteBuffer bytes) {
    return bytes.get() & 0xFF;
  }

  private static int u16(ByteBuffer bytes) {
    return bytes.getShort() & 0xFFFF;
  }

  private static void skip(ByteBuffer bytes, int count) {
    if (count > bytes.remaining()) throw new BufferUnderflowException();
    bytes.position(bytes.position() + count);
  }

  private static void readMessage(ByteBuffer bytes, List<Request> requests) {
    if (u16(bytes) != SEVERAL_OPERATIONS) return;
    skip(bytes, 8);
    int timeType = u8(bytes);
    if (timeType >= TIMESTAMP_BYTES.length) return;
    skip(bytes, TIMESTAMP_BYTES[timeType]);
    int count = u8(bytes);
    long preRollMs = -1;
    for (int i = 0; i < count; i++) {
      int operation = u16(bytes);
      int length = u16(bytes);
      ByteBuffer data = bytes.slice();
      skip(bytes, length);
      data.limit(length);
      if (operation == SPLICE_REQUEST) requests.add(spliceRequest(data));
      else if (operation == TIME_SIGNAL) preRollMs = u16(data);
      else if (operation == SEGMENTATION && preRollMs >= 0) addSegmentation(data, preRollMs, requests);
    }
  }

  // Types: start and end, each also at once; then calling off.
  private static Request spliceRequest(ByteBuffer data) {
    int type = u8(data);
    long eventId = data.getInt() & 0xFFFFFFFFL;
    int programId = u16(data);
    int preRollMs = u16(data);
    long durationMs = u16(data) * 100L;
    skip(data, 2);
    boolean autoReturn = u8(data) != 0;
    boolean known = type >= 1 && type <= 4;
    boolean atOnce = type == 2 || type == 4;
    SpliceCue cue = known ? new SpliceCue(type <= 2, eventId, durationMs, autoReturn, programId) : null;
    return new Request(cue, eventId, atOnce ? 0 : preRollMs);
  }

  private static void addSegmentation(ByteBuffer data, long preRollMs, List<Request> requests) {
    long eventId = data.getInt() & 0xFFFFFFFFL;
    boolean calledOff = u8(data) != 0;
    long durationMs = u16(data) * 1000L;
    skip(data, 1);
    skip(data, u8(data));
    int type = u8(data);
    // A break, advertisements and placements: an even number begins one, the next ends it. Others are no breaks.
    boolean isBreak = type == 0x22 || type == 0x23 || type >= 0x30 && type <= 0x3B;
    if (calledOff) requests.add(new Request(null, eventId, preRollMs));
    else if (isBreak) requests.add(new Request(new SpliceCue(type % 2 == 0, eventId, durationMs, false, 0), eventId, preRollMs));
  }
}
