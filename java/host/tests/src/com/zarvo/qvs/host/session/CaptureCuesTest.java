package com.zarvo.qvs.host.session;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.bitstream.SpliceReader;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeAncillaryData;
import java.util.Arrays;
import java.util.HexFormat;
import java.util.List;
import org.junit.jupiter.api.Test;

/** Splice messages, from the words of a packet to the picture that they are due at. */
class CaptureCuesTest {
  private static final int OUT = 1;
  private static final int IN_AT_ONCE = 4;
  private static final int CALL_OFF = 5;

  private static int[] message(int type, int event, int preRollMs, int tenths) {
    int[] bytes = {
      8, 0xFF, 0xFF, 0, 30, 0, 0, 1, 0, 0, 0, 0, 1, 1, 1, 0, 14, type, 0, 0, 0, event, 0, 9, preRollMs >> 8,
      preRollMs & 255, tenths >> 8, tenths & 255, 0, 0, 1
    };
    for (int i = 0; i < bytes.length; i++) bytes[i] |= 0x200; // parity, which nobody is to mind
    return bytes;
  }

  private static List<TranscoderNativeVideoDecodeAncillaryData> packet(int[] words) {
    TranscoderNativeVideoDecodeAncillaryData packet = new TranscoderNativeVideoDecodeAncillaryData();
    packet.did = SpliceReader.DID;
    packet.sid = SpliceReader.SID;
    packet.buffer = words;
    return List.of(packet);
  }

  @Test
  void aBreakIsDueAtItsTimeOnceAndEndsByItself() {
    CaptureCues cues = new CaptureCues();
    for (int repeat = 0; repeat < 3; repeat++) cues.accept(packet(message(OUT, 7, 500, 20)), 1000);
    assertNull(cues.take(1480));
    assertEquals(new SpliceCue(true, 7, 2000, true, 9), cues.take(1520));
    assertNull(cues.take(3480), "once");
    assertEquals(new SpliceCue(false, 7, 0, false, 9), cues.take(3500));
    assertNull(cues.take(100_000));
  }

  @Test
  void aToldEndTakesThePlaceOfTheAnnouncedOneAndABreakCanBeCalledOff() {
    CaptureCues cues = new CaptureCues();
    cues.accept(packet(message(OUT, 1, 0, 300)), 0);
    assertTrue(cues.take(0).out());
    cues.accept(packet(message(IN_AT_ONCE, 1, 9999, 0)), 5000);
    assertEquals(false, cues.take(5000).out());
    assertNull(cues.take(40_000), "not again");
    cues.accept(packet(message(OUT, 2, 1000, 0)), 50_000);
    cues.accept(packet(message(CALL_OFF, 2, 0, 0)), 50_400);
    assertNull(cues.take(60_000));
  }

  @Test
  void whatIsCutOffOrInPiecesHarmsNothing() {
    int[] whole = message(OUT, 3, 500, 0);
    for (int length = 0; length < whole.length; length++)
      assertEquals(List.of(), new SpliceReader().accept(Arrays.copyOf(whole, length)), "of " + length);
    SpliceReader reader = new SpliceReader();
    int[] head = Arrays.copyOf(whole, 12);
    head[0] = 8 | 2;
    int[] rest = Arrays.copyOfRange(whole, 11, whole.length);
    rest[0] = 8 | 4;
    assertEquals(List.of(), reader.accept(head));
    assertEquals(3, reader.accept(rest).get(0).eventId());
  }

  @Test
  void theSectionForPlaylistsHasALengthAndASumThatHold() {
    for (SpliceCue cue : List.of(new SpliceCue(true, 7, 30_000, true, 9), new SpliceCue(false, 7, 0, false, 9))) {
      byte[] bytes = HexFormat.of().parseHex(cue.section());
      assertEquals(bytes.length - 3, (bytes[1] & 0x0F) << 8 | bytes[2] & 0xFF);
      int crc = -1;
      for (byte one : bytes) {
        crc ^= one << 24;
        for (int bit = 0; bit < 8; bit++) crc = crc << 1 ^ (crc < 0 ? 0x04C11DB7 : 0);
      }
      assertEquals(0, crc, "a sum over all, its own bytes included");
    }
  }
}
