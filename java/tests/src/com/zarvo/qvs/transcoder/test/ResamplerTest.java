package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioResamplerParameters;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import java.nio.ByteBuffer;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Assumptions;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

class ResamplerTest {
  private static final int A_LAW = 7;
  private static final int OPUS = 12;
  private static final int BLOCK = 800;

  private long session;

  @BeforeEach
  void open() {
    session = Library.openSession();
    assertEquals(-1, audioDecoderAddAudioResampler(session, to(16000, 2)), "no decoder yet");
    assertEquals(-1, audioEncoderAddAudioResampler(session, 0, to(16000, 2)), "no encoder yet");
    Assumptions.assumeTrue(audioDecoderCreate(session, 0, A_LAW, 0, null) == 0, "skipped: no A-law in this build");
    audioDecoderInitialize(session);
    byte[] format = ByteBuffer.allocate(9).put((byte) 0).putInt(8000).putInt(1).array();
    assertEquals(0, audioDecoderDecodeFirstFrame(session, format, 0, format.length));
    audioDecoderBuffersCreate(session, 1);
    audioDecoderBuffersAllocate(session, BLOCK, 1, 8000);
    Library.logs(0);
  }

  @AfterEach
  void close() {
    destroyInstance(session);
  }

  private static TranscoderNativeAudioResamplerParameters to(long rate, long channels) {
    TranscoderNativeAudioResamplerParameters parameters = new TranscoderNativeAudioResamplerParameters();
    parameters.sampleRate = rate;
    parameters.channels = channels;
    return parameters;
  }

  /** A tenth of a second at one level. */
  private void decode(int number) {
    byte[] coded = new byte[BLOCK];
    Arrays.fill(coded, (byte) 0xAA);
    assertEquals(0, audioDecoderDecodeFrame(session, coded, 0, BLOCK, number * 100L, 0));
  }

  private static int levelAt(TranscoderNativeAudioFrame frame, int sample) {
    return (short) ((frame.buffer[sample * 2] & 0xFF) | frame.buffer[sample * 2 + 1] << 8);
  }

  /** A resampler's line goes to the process's log. */
  private static void assertLine(String formats) {
    List<String> lines = Library.logs(0).stream().map(line -> line.statement).toList();
    assertTrue(lines.contains("AudioResampler.setup[{context}]: " + formats), lines::toString);
  }

  @Test
  void decodersBlocksAreConvertedInPlace() {
    TranscoderNativeAudioFrame source = new TranscoderNativeAudioFrame();
    decode(0);
    audioDecoderResampleFrame(session, 0, 0);
    audioDecoderGetAudioFrame(session, 0, source);
    assertEquals(List.of(8000L, (long) BLOCK), List.of(source.sampleRate, source.sampleCount), "none is attached");

    assertEquals(-1, audioDecoderAddAudioResampler(session, null));
    assertEquals(0, audioDecoderAddAudioResampler(session, to(16000, 1)));
    long total = 1600;
    for (int i = 1; i < 10; ++i) {
      decode(i);
      assertEquals(0, audioDecoderResampleFrame(session, i * 100L, 0));
      TranscoderNativeAudioFrame frame = new TranscoderNativeAudioFrame();
      assertEquals(0, audioDecoderGetAudioFrame(session, 0, frame));
      assertEquals(List.of(16000L, 1L, total), List.of(frame.sampleRate, frame.channels, frame.timecode));
      assertEquals(frame.sampleCount * 2, frame.buffer.length);
      assertEquals(levelAt(source, 400), levelAt(frame, 800), 2);
      total += frame.sampleCount;
    }
    assertTrue(total > 15800 && total < 16000, "all but what the filter holds: " + total);
    assertLine("source[rate/channels/mask]: 8000/1/0x4 destination[rate/channels/mask]: 16000/1/0x4");
  }

  @Test
  void oneEncodersBlocksAreConvertedApart() {
    TranscoderNativeLong encoder = new TranscoderNativeLong();
    Assumptions.assumeTrue(
        audioEncoderAdd(session, OPUS, 0, null, encoder) == 0 && audioEncoderAdd(session, OPUS, 0, null, encoder) == 0,
        "skipped: no Opus encoder in this build");
    assertEquals(1, encoder.value);
    assertEquals(-1, audioEncoderAddAudioResampler(session, 2, to(48000, 2)));
    assertEquals(-1, audioEncoderAddAudioResampler(session, 1, null));
    assertEquals(0, audioEncoderAddAudioResampler(session, 1, to(48000, 2)));
    decode(10);
    for (long index : new long[] {0, 1}) {
      assertEquals(0, audioEncoderEncodeBufferStart(session, index, 0));
      assertEquals(index == 1 ? 0 : Library.FAILED, audioEncoderResampleFrame(session, index, 0));
      TranscoderNativeAudioFrame frame = new TranscoderNativeAudioFrame();
      assertEquals(0, audioEncoderGetAudioFrame(session, index, 0, frame));
      List<Long> format = List.of(frame.sampleRate, frame.channels, frame.timecode);
      assertEquals(index == 1 ? List.of(48000L, 2L, 48000L) : List.of(8000L, 1L, 8000L), format);
      assertEquals(0, audioEncoderEncodeBufferDone(session, index, 0));
    }
    assertLine("source[rate/channels/mask]: 8000/1/0x3 destination[rate/channels/mask]: 48000/2/0x3");
  }
}
