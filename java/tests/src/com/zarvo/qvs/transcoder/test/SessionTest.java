package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.Assumptions;
import org.junit.jupiter.api.Test;

class SessionTest {
  @Test
  void pictureComesThroughWithItsColoursAndTimes() throws Exception {
    List<byte[]> clip = Ivf.halves(320, 180, 10);
    List<TranscoderPacket> coded;
    try (SessionDriver driver = new SessionDriver(160, 90)) {
      for (int i = 0; i < clip.size(); ++i) {
        long picture = driver.decode(clip.get(i), i * 40L, i == 0 ? Library.KEY_FRAME : 2);
        assertEquals(i * 40L, driver.timecode.value);
        assertEquals(320, driver.info.frameWidth);
        assertEquals(i + 1, driver.info.frameCount);
        SessionDriver.assertHalves(driver.show(picture, 0, 0));
        TranscoderNativeVideoFrame shown = driver.encode(picture, i * 40L, i == 0 ? Library.KEY_FRAME : 0);
        assertEquals(List.of(160, 90, Library.fourcc("BGRA"), 640L, i * 40L),
            List.of(shown.width, shown.height, shown.fourcc, shown.stride, shown.timecode));
        SessionDriver.assertHalves(shown);
        assertEquals(0, videoDecoderBufferRelease(driver.handle, picture));
      }
      coded = driver.packets;
    }
    assertEquals(clip.size(), coded.size());
    try (SessionDriver again = new SessionDriver(64, 36)) {
      for (int i = 0; i < coded.size(); ++i) {
        TranscoderPacket packet = coded.get(i);
        assertEquals(List.of(9, i * 40L, (long) packet.buffer.length), List.of(packet.type, packet.timecode, packet.len));
        assertEquals(i == 0 ? 1 : 2, packet.frameType);
        long picture = again.decode(packet.buffer, packet.timecode, packet.frameType);
        SessionDriver.assertHalves(again.show(picture, 0, 0));
        videoDecoderBufferRelease(again.handle, picture);
      }
    }
  }

  @Test
  void picturesAreReadBackInTheSizeWanted() throws Exception {
    List<byte[]> clip = Ivf.halves(320, 180, 1);
    try (SessionDriver driver = new SessionDriver(160, 90)) {
      long picture = driver.decode(clip.get(0), 0, Library.KEY_FRAME);
      assertEquals(36, driver.show(picture, 64, 0).height);
      TranscoderNativeVideoFrame large = driver.show(picture, 401, 300);
      assertEquals(401 * 300 * 4, large.bytes.length);
      SessionDriver.assertHalves(large);

      int[][] refused = {{-1, -1}, {65536, 65536}, {Integer.MAX_VALUE, 1}, {1, Integer.MAX_VALUE}, {46341, 46341}};
      for (int[] size : refused) {
        TranscoderNativeVideoFrame frame = new TranscoderNativeVideoFrame();
        frame.width = size[0];
        frame.height = size[1];
        videoDecoderBufferGetVideoFrame(driver.handle, picture, frame);
        assertNull(frame.bytes, () -> size[0] + "x" + size[1]);
      }
      TranscoderNativeVideoFrame untouched = new TranscoderNativeVideoFrame();
      assertEquals(0, videoDecoderBufferGetVideoFrame(driver.handle, 99, untouched) & ~Library.FAILED);
      assertNull(untouched.bytes);
    }
  }

  @Test
  void fullPoolGivesMinusOneUntilAPictureComesBack() {
    try (SessionDriver driver = new SessionDriver(160, 90)) {
      for (int i = 0; i < SessionDriver.DECODER_PICTURES; ++i) assertTrue(videoDecoderBufferAllocate(driver.handle) >= 0);
      assertEquals(-1, videoDecoderBufferAllocate(driver.handle));
      assertEquals(0, videoDecoderBufferAcquire(driver.handle, 2));
      assertEquals(0, videoDecoderBufferRelease(driver.handle, 2));
      assertEquals(-1, videoDecoderBufferAllocate(driver.handle));
      assertEquals(0, videoDecoderBufferRelease(driver.handle, 2));
      assertEquals(2, videoDecoderBufferAllocate(driver.handle));
    }
  }

  @Test
  void damagedFramesLeaveTheSessionUsable() throws Exception {
    List<byte[]> clip = Ivf.halves(320, 180, 5);
    try (SessionDriver driver = new SessionDriver(160, 90)) {
      for (byte[] good : clip) {
        byte[] flipped = good.clone();
        for (int i = 0; i < flipped.length; i += 7) flipped[i] ^= (byte) 0xA5;
        byte[][] bad = {{}, {1}, java.util.Arrays.copyOf(good, good.length / 2), flipped};
        for (byte[] coded : bad) {
          videoDecoderAddFrame(driver.handle, coded, 0, coded.length, 0, 2);
          long picture = videoDecoderBufferAllocate(driver.handle);
          videoDecoderDecode(driver.handle, picture, driver.status, driver.timecode, driver.info);
          assertEquals(0, videoDecoderBufferRelease(driver.handle, picture));
        }
      }
      long picture = driver.decode(clip.get(0), 80, Library.KEY_FRAME);
      SessionDriver.assertHalves(driver.encode(picture, 80, Library.KEY_FRAME));
      assertEquals(0, videoDecoderBufferRelease(driver.handle, picture));
    }
  }

  @Test
  void realClipsComeThrough() throws Exception {
    String media = System.getenv("QVS_MEDIA");
    Assumptions.assumeTrue(media != null, "skipped: QVS_MEDIA does not name a folder of media");
    List<Path> files;
    try (Stream<Path> walk = Files.walk(Path.of(media))) {
      files = walk.filter(p -> p.getFileName().toString().matches("(?i).*vp80.*\\.ivf")).sorted().limit(3).toList();
    }
    Assumptions.assumeTrue(!files.isEmpty(), "skipped: no VP8 clips in QVS_MEDIA");
    for (Path file : files) {
      List<byte[]> clip = Ivf.read(file);
      clip = clip.subList(0, Math.min(30, clip.size()));
      try (SessionDriver driver = new SessionDriver(88, 72)) {
        for (int i = 0; i < clip.size(); ++i) {
          long picture = driver.decode(clip.get(i), i * 33L, i == 0 ? Library.KEY_FRAME : 2);
          driver.encode(picture, i * 33L, i == 0 ? Library.KEY_FRAME : 0);
          videoDecoderBufferRelease(driver.handle, picture);
        }
        assertEquals(clip.size(), driver.packets.size(), file::toString);
      }
    }
  }

  /** Sessions share the process's singletons and nothing else. */
  @Test
  void sessionsRunSideBySide() throws Exception {
    List<byte[]> clip = Ivf.halves(160, 96, 8);
    java.util.concurrent.Callable<Integer> work =
        () -> {
          int packets = 0;
          for (int round = 0; round < 4; ++round) {
            try (SessionDriver driver = new SessionDriver(80, 48)) {
              for (int i = 0; i < clip.size(); ++i) {
                long picture = driver.decode(clip.get(i), i * 40L, i == 0 ? Library.KEY_FRAME : 2);
                SessionDriver.assertHalves(driver.encode(picture, i * 40L, i == 0 ? Library.KEY_FRAME : 0));
                videoDecoderBufferRelease(driver.handle, picture);
              }
              Library.logs(driver.handle);
              packets += driver.packets.size();
            }
          }
          return packets;
        };
    var pool = java.util.concurrent.Executors.newFixedThreadPool(3);
    try {
      for (var result : pool.invokeAll(java.util.Collections.nCopies(3, work))) assertEquals(32, result.get());
    } finally {
      pool.shutdown();
    }
  }
}
