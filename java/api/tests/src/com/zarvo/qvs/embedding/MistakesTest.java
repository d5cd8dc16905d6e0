package com.zarvo.qvs.embedding;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.api.Codec;
import com.zarvo.qvs.api.Encoder;
import com.zarvo.qvs.api.Ladder;
import com.zarvo.qvs.api.LogSink;
import com.zarvo.qvs.api.MediaFiles;
import com.zarvo.qvs.api.MediaSource;
import com.zarvo.qvs.api.PacketListener;
import com.zarvo.qvs.api.Parameter;
import com.zarvo.qvs.api.Rung;
import com.zarvo.qvs.api.Sound;
import com.zarvo.qvs.api.SourceFormat;
import com.zarvo.qvs.api.SourcePacket;
import com.zarvo.qvs.api.TranscodeException;
import com.zarvo.qvs.host.support.Clips;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Path;
import java.util.List;
import java.util.Random;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CopyOnWriteArrayList;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.logging.Handler;
import java.util.logging.LogRecord;
import java.util.logging.Logger;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

/** Whatever a program does wrong costs it a clear exception, and never the virtual machine. */
class MistakesTest {
  @TempDir static Path folder;
  private static Path clip;

  @BeforeAll
  static void makeClip() throws Exception {
    clip = Clips.make("-f lavfi -i testsrc2=size=160x90:rate=25 -t 2 -c:v libx264 -g 10", folder.resolve("clip.mkv"));
  }

  private static Ladder.Builder ladderOf(MediaSource source) {
    return Ladder.of(source).rung(Rung.of(160, 90)).rung(Rung.of(64, 36));
  }

  private static String refusal(Executable step) {
    return assertThrows(IllegalArgumentException.class, step).getMessage();
  }

  @Test
  void whatCannotBeIsRefusedWhereItIsSaid() throws Exception {
    assertEquals("width 161 is odd, 4:2:0 pictures need even sizes", refusal(() -> Rung.of(161, 90)));
    assertEquals("codec MPEG2 is decoded only", refusal(() -> Rung.of(160, 90).codec(Codec.MPEG2)));
    assertTrue(refusal(() -> Rung.of(160, 90).set("sharpness", 3)).contains("take one of"));
    assertTrue(refusal(() -> Rung.of(160, 90).set(Parameter.PRESET, "warp")).contains("ultrafast"));
    assertTrue(refusal(() -> Rung.of(160, 90).set(Parameter.B_FRAMES, 9)).contains("outside 0 to 8"));
    assertTrue(refusal(() -> Rung.of(160, 90).encoders()).contains("one at least"));
    try (MediaSource source = MediaSource.open(clip)) {
      assertTrue(refusal(() -> Ladder.of(source).open()).contains("a rung at least"));
      MediaFiles webm = MediaFiles.webm(folder);
      assertTrue(refusal(() -> ladderOf(source).rung(Rung.of(64, 64).codec(Codec.H264)).files(webm).open()).contains("hold"));
      Ladder.Builder none = ladderOf(source).encoders(Encoder.VEGA);
      TranscodeException nothing = assertThrows(TranscodeException.class, none::open);
      assertTrue(nothing.getMessage().contains("no encoder for h264 160x90 of vega"), nothing.getMessage());
      Ladder.Builder sound = ladderOf(source).sound(Sound.of(Sound.Codec.OPUS, 64_000));
      assertTrue(assertThrows(TranscodeException.class, sound::open).getMessage().contains("no audio stream"));
      try (Ladder ladder = ladderOf(source).open()) {
        assertTrue(refusal(() -> ladder.updateBitRate(2, 1000)).contains("rungs 0 to 1"));
        ladder.finish();
        assertTrue(assertThrows(IllegalStateException.class, ladder::finish).getMessage().contains("is finished"));
        ladder.close();
        assertTrue(assertThrows(IllegalStateException.class, () -> ladder.push(new byte[1], 0, true)).getMessage().contains("is closed"));
        assertEquals(2, ladder.statistics().rungs().size());
      }
    }
    assertTrue(assertThrows(IOException.class, () -> MediaSource.open(folder.resolve("none"))).getMessage().contains("no such file"));
  }

  /** While one thread pushes, another changes all that can be changed and closes in the middle of it. */
  @Test
  void threadsWaitForEachOtherAndCloseForAll() throws Exception {
    CountDownLatch running = new CountDownLatch(40);
    try (MediaSource source = MediaSource.open(clip)) {
      Ladder ladder = ladderOf(source).onPacket(packet -> running.countDown()).open();
      CompletableFuture<Void> pushing = CompletableFuture.runAsync(() -> pushAll(source, ladder));
      assertTrue(running.await(60, TimeUnit.SECONDS));
      for (int i = 1; i < 5; i++) ladder.updateBitRate(i % 2, 50_000L * i);
      ladder.statistics();
      CompletableFuture<Void> other = CompletableFuture.runAsync(ladder::close);
      ladder.close();
      other.get(60, TimeUnit.SECONDS);
      assertTrue(
          assertThrows(ExecutionException.class, () -> pushing.get(60, TimeUnit.SECONDS)).getCause()
              instanceof IllegalStateException);
    }
  }

  // The same packet over and over is nonsense too: what counts is that it ends with the ladder.
  private static void pushAll(MediaSource source, Ladder ladder) {
    try {
      SourcePacket last = null;
      for (SourcePacket packet = source.next(); ; packet = source.next()) {
        last = packet == null ? last : packet;
        ladder.push(last);
      }
    } catch (IOException e) {
      throw new UncheckedIOException(e);
    }
  }

  @Test
  void aListenerMayAskForChangesAndForTheEnd() throws Exception {
    Ladder[] ladder = new Ladder[1];
    IllegalStateException[] refused = new IllegalStateException[1];
    PacketListener listener =
        packet -> {
          ladder[0].updateBitRate(packet.track(), 90_000);
          refused[0] = assertThrows(IllegalStateException.class, ladder[0]::finish);
          if (packet.pts() * packet.unit() > 1) ladder[0].close();
        };
    try (MediaSource source = MediaSource.open(clip)) {
      ladder[0] = ladderOf(source).onPacket(listener).open();
      IllegalStateException over =
          assertThrows(
              IllegalStateException.class,
              () -> {
                for (SourcePacket packet = source.next(); packet != null; packet = source.next()) ladder[0].push(packet);
              });
      assertTrue(over.getMessage().contains("is closed"), over.getMessage());
      assertTrue(refused[0].getMessage().contains("by a listener"), refused[0].getMessage());
    }
  }

  @ParameterizedTest
  @EnumSource(Codec.class)
  void garbageIsCountedOrRefused(Codec codec) throws Exception {
    Random random = new Random(codec.ordinal());
    try (Ladder ladder = Ladder.of("garbage", SourceFormat.of(codec, 160, 90)).rung(Rung.of(64, 36)).open()) {
      for (int i = 0; i < 60; i++) {
        byte[] bytes = new byte[random.nextInt(400)];
        random.nextBytes(bytes);
        if (i % 3 == 0 && bytes.length > 4) System.arraycopy(new byte[] {0, 0, 1}, 0, bytes, 0, 3);
        ladder.push(bytes, random.nextInt(5) == 0 ? random.nextLong() : i * 40L, i % 7 == 0);
      }
      ladder.finish();
    } catch (TranscodeException e) {
      assertTrue(e.getMessage().contains("garbage"), e.getMessage());
    }
  }

  @Test
  void whatNobodyClosedIsClosedAndTold() throws Exception {
    List<String> lines = new CopyOnWriteArrayList<>();
    Handler handler =
        new Handler() {
          @Override
          public void publish(LogRecord record) {
            lines.add(record.getMessage());
          }

          @Override
          public void flush() {}

          @Override
          public void close() {}
        };
    Logger logger = Logger.getLogger(LogSink.NAME);
    logger.addHandler(handler);
    try {
      forget();
      for (int i = 0; i < 300 && lines.stream().noneMatch(line -> line.contains("ladder clip.mkv was not closed")); i++) {
        System.gc();
        Thread.sleep(50);
      }
    } finally {
      logger.removeHandler(handler);
    }
    String told = String.join("\n", lines);
    assertTrue(told.contains("the ladder clip.mkv was not closed by its owner"), told);
    assertTrue(told.contains("at com.zarvo.qvs.embedding.MistakesTest.forget"), told);
    assertTrue(told.contains("Create video encoder"), told);
  }

  /** A listener that leads back to its ladder does not keep it. */
  private static void forget() throws IOException {
    try (MediaSource source = MediaSource.open(clip)) {
      Ladder[] own = new Ladder[1];
      own[0] = ladderOf(source).onPacket(packet -> own[0].statistics()).open();
      own[0].push(source.next());
    }
  }
}
