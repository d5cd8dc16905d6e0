package com.zarvo.qvs.transcoder.test;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;

class MarshallingTest {
  private static TranscoderNativeParameterValue key(int key, int type) {
    TranscoderNativeParameterValue value = new TranscoderNativeParameterValue();
    value.settingIndex = key;
    value.dataType = type;
    return value;
  }

  @Test
  void parametersOfEveryTypeGoThereAndBack() {
    TranscoderNativeParameterValue[] sent = {key(1, 1), key(2, 2), key(3, 3), key(4, 4), key(5, 2), key(6, 4)};
    sent[0].lValue = Long.MIN_VALUE;
    sent[1].larValue = new long[] {1, -2, Long.MAX_VALUE};
    sent[2].dValue = -0.125;
    sent[3].darValue = new double[] {0.5, Double.NEGATIVE_INFINITY};
    sent[4].larValue = new long[0];

    TranscoderNativeParameterValue[] asked = {key(1, 0), key(2, 0), key(3, 0), key(4, 0), key(5, 9), key(6, 9), key(7, 0), key(8, 0)};
    asked[6].larValue = new long[] {42};
    Marshalling.echo(sent, asked);
    assertEquals(List.of(1, Long.MIN_VALUE), List.of(asked[0].dataType, asked[0].lValue));
    assertArrayEquals(sent[1].larValue, asked[1].larValue);
    assertEquals(List.of(3, -0.125), List.of(asked[2].dataType, asked[2].dValue));
    assertArrayEquals(sent[3].darValue, asked[3].darValue);
    assertEquals(9, asked[4].dataType, "an empty list was not sent");
    assertEquals(9, asked[5].dataType, "a null list was not sent");
    assertEquals(2, asked[6].dataType);
    assertArrayEquals(new long[] {42}, asked[6].larValue, "a list without elements leaves the array alone");
    assertArrayEquals(new long[] {88, 0, 0, 0}, asked[7].larValue);
  }

  @Test
  void decodedPictureBringsItsRecords() {
    TranscoderNativeVideoDecodeFrameInfo info = new TranscoderNativeVideoDecodeFrameInfo();
    assertTrue(Marshalling.report(info, 12, 40));
    assertEquals(List.of(7L, 5L, 29.97), List.of(info.frameWidth, info.frameHeight, info.frameRate));
    assertEquals(12, info.timcodeInfo.size());
    var last = info.timcodeInfo.get(11);
    assertEquals(
        List.of(110L, 111L, 0xFFFFFFFFL, 113L, 114L, 115L, 116L, 117L),
        List.of(last.tcType, last.bcd, last.userBits, last.flags, last.hours, last.minutes, last.seconds, last.frames));
    assertEquals(40, info.ancillaryData.size());
    assertNull(info.ancillaryData.get(0).buffer);
    var packet = info.ancillaryData.get(39);
    assertEquals(List.of(390, -1, 1920, 1919), List.of(packet.did, packet.checksum, packet.buffer.length, packet.buffer[1919]));
  }

  @Test
  void recordsWithoutAListToGoToArePassedOver() {
    TranscoderNativeVideoDecodeFrameInfo info = new TranscoderNativeVideoDecodeFrameInfo();
    info.timcodeInfo = null;
    assertTrue(Marshalling.report(info, 2, 2), "told on standard output");
    assertEquals(7, info.frameWidth);
    assertEquals(2, info.ancillaryData.size());
    info.ancillaryData = List.of();
    assertThrows(UnsupportedOperationException.class, () -> Marshalling.report(info, 0, 1));
    assertTrue(Marshalling.report(null, 2, 2));
  }

  @Test
  void packetsCarryEveryField() {
    List<TranscoderPacket> list = new ArrayList<>();
    byte[] written = {1, 2, 3};
    Marshalling.packets(list, written);
    assertEquals(3, list.size(), "a unit without bytes is passed over");
    assertSame(written, list.get(1).buffer, "no copy of what is Java's already");
    TranscoderPacket video = list.get(0);
    assertArrayEquals("video".getBytes(), video.buffer);
    assertEquals(
        List.of(5L, 9, 1L << 40, -40, 3), List.of(video.len, video.type, video.timecode, video.timecodeOffset, video.frameType));
    TranscoderPacket audio = list.get(2);
    assertArrayEquals("sound".getBytes(), audio.buffer);
    assertEquals(
        List.of(5L, 8, 48000L, 0, 44100, 2),
        List.of(audio.len, audio.type, audio.timecode, audio.frameType, audio.sampleRate, audio.channels));
  }
}
