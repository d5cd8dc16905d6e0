package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.util.List;
import org.junit.jupiter.api.Test;

/** Calls that take memory across the boundary, good and refused, again and again: none keeps any. */
class LeakTest {
  private static final int ROUNDS = 3000;
  // A leak of one block a round would come to more than four times this; the machine itself moves far less.
  private static final int BLOCK = 4096;
  private static final long ALLOWED = ROUNDS * (long) BLOCK / 4;

  private static void assertNoLeak(String what, Runnable round) {
    for (int i = 0; i < ROUNDS / 10; i++) round.run();
    long before = NativeHeap.bytesInUse();
    for (int i = 0; i < ROUNDS; i++) round.run();
    long grown = NativeHeap.bytesInUse() - before;
    assertTrue(grown < ALLOWED, what + ": " + grown + " bytes in " + ROUNDS + " rounds");
  }

  @Test
  void refusedBytesAreFreed() throws Exception {
    try (SessionDriver driver = new SessionDriver(64, 48)) {
      byte[] bytes = new byte[BLOCK];
      assertNoLeak("coded bytes of no codec", () -> {
        videoDecoderAddFrame(driver.handle, bytes, 0, bytes.length, 0, Library.KEY_FRAME);
        videoDecoderDecodeCodecConfig(driver.handle, bytes, 0, bytes.length);
        audioDecoderDecodeFrame(driver.handle, bytes, 0, bytes.length, 0, 0);
        audioDecoderDecodeCodecConfig(driver.handle, bytes, 0, bytes.length);
      });
      assertNoLeak("coded bytes for no session", () -> videoDecoderAddFrame(0, bytes, 0, bytes.length, 0, 1));
    }
  }

  @Test
  void overlaysAreFreedWhenReplacedRefusedAndRemoved() {
    try (SessionDriver driver = new SessionDriver(64, 48)) {
      TranscoderNativeVideoFrame overlay = new TranscoderNativeVideoFrame();
      overlay.fourcc = Library.fourcc("BGRA");
      overlay.width = overlay.height = 32;
      overlay.stride = 128;
      overlay.bytes = new byte[BLOCK];
      assertNoLeak("overlays", () -> {
        videoDecoderBufferSetOverlayVideoFrame(driver.handle, 0, overlay);
        videoEncoderBufferSetOverlayVideoFrame(driver.handle, driver.set, 0, overlay);
        videoEncoderBufferSetOverlayVideoFrame(driver.handle, 99, 0, overlay);
        videoDecoderBufferSetOverlayVideoFrame(driver.handle, Long.MAX_VALUE, overlay);
        videoDecoderBufferSetOverlayVideoFrame(driver.handle, 0, null);
      });
    }
  }

  @Test
  void aPictureLeavesNothingBehind() throws Exception {
    List<byte[]> clip = Ivf.halves(64, 48, 2);
    try (SessionDriver driver = new SessionDriver(64, 48)) {
      assertNoLeak("pictures", () -> {
        driver.packets.clear();
        long picture = driver.decode(clip.get(0), 0, Library.KEY_FRAME);
        driver.encode(picture, 0, Library.KEY_FRAME);
        videoDecoderBufferRelease(driver.handle, picture);
      });
    }
  }

  @Test
  void aSessionTakesAllThatItHadAway() {
    TranscoderNativeStreamContext context = new TranscoderNativeStreamContext();
    context.streamName = "x".repeat(BLOCK);
    assertNoLeak("sessions", () -> {
      long session = Library.openSession();
      assertNotEquals(0, session);
      TranscoderNativeLong index = new TranscoderNativeLong();
      for (long codec = 0; codec < 16; codec++) {
        audioDecoderCreate(session, 0, codec, 0, context);
        audioEncoderAdd(session, codec, 0, context, index);
      }
      assertEquals(0, destroyInstance(session));
    });
  }
}
