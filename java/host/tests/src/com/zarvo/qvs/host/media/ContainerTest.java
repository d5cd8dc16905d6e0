package com.zarvo.qvs.host.media;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.job.VideoQuality;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.support.Clips;
import java.awt.Rectangle;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Reading and writing of containers, without any transcoding. */
class ContainerTest {
  @TempDir static Path folder;

  @BeforeAll
  static void load() throws HostException {
    NativeLibraries.loadMedia();
  }

  private static MediaWriter small(Path file, String format, String codec) throws MediaException {
    Rational ms = new Rational(1, 1000);
    OutputTrack track = new OutputTrack.Video(codec, new byte[0], ms, 64, 64, new Rational(0, 1));
    return MediaWriter.create(file, format, List.of(track), false);
  }

  /** Copies a file packet by packet; the packets' count. */
  private static int copy(Path from, Path to, String format) throws IOException {
    int packets = 0;
    try (MediaReader reader = MediaReader.open(from)) {
      StreamInfo info = reader.video();
      OutputTrack track =
          new OutputTrack.Video(
              info.codecName(), new byte[0], info.timeBase(), info.width(), info.height(), info.frameRate());
      try (MediaWriter writer = MediaWriter.create(to, format, List.of(track), false)) {
        for (MediaPacket packet = reader.next(); packet != null; packet = reader.next(), packets++)
          writer.write(
              0, OutputPacket.inOrder(packet.data(), 0, packet.data().length, packet.pts(), packet.key()));
        writer.finish();
      }
    }
    return packets;
  }

  @Test
  void theReaderTellsWhatTheFileIs() throws Exception {
    Path plain = Clips.testVideo(folder.resolve("told.webm"), "322x182", "30000/1001", 31, "");
    Path clip = Files.copy(plain, folder.resolve("t\u00f6ld \u96ea.webm"));
    try (MediaReader reader = MediaReader.open(clip)) {
      StreamInfo info = reader.video();
      assertEquals("vp8", info.codecName());
      assertEquals(322, info.width());
      assertEquals(182, info.height());
      assertEquals(29.97, info.frameRate().toDouble(), 0.01);
      assertEquals(1034, info.durationMs(), 40);
      MediaPacket first = reader.next();
      assertTrue(first.key());
      assertFalse(reader.next().key());
    }
  }

  @Test
  void exactTimesSurviveInIvf() throws Exception {
    Path clip = Clips.testVideo(folder.resolve("ntsc.ivf"), "64x64", "30000/1001", 301, "");
    Path copy = folder.resolve("ntsc-copy.ivf");
    assertEquals(301, copy(clip, copy, "ivf"));
    assertEquals(Clips.times(clip), Clips.times(copy));
    assertEquals(-1, Files.mismatch(clip, copy), "IVF holds nothing that a copy could change");
  }

  @Test
  void irregularTimesSurviveInEitherContainer() throws Exception {
    Path clip =
        Clips.testVideo(
            folder.resolve("vfr.webm"), "64x64", "30", 60, "-vf select=mod(n\\,5)*mod(n\\,3) -vsync vfr");
    List<String> times = Clips.times(clip);
    assertEquals("0.133000", times.get(2), "the clip leaves pictures out");
    for (String format : List.of("webm", "ivf")) {
      Path copy = folder.resolve("vfr-copy." + format);
      copy(clip, copy, format);
      assertEquals(times, Clips.times(copy), format);
    }
  }

  @Test
  void timesThatDoNotGrowAreMoved() throws Exception {
    Path file = folder.resolve("stuck.webm");
    try (MediaWriter writer = small(file, "webm", "vp8")) {
      for (long pts : new long[] {0, 40, 40, 20, 80})
        writer.write(0, OutputPacket.inOrder(new byte[] {0, 1, 2}, 0, 3, pts, pts == 0));
      writer.finish();
    }
    assertEquals(List.of("0.000000", "0.040000", "0.041000", "0.042000", "0.080000"), Clips.times(file));
  }

  @Test
  void anUnfinishedFileLeavesNothing() throws Exception {
    Path file = folder.resolve("unfinished.webm");
    try (MediaWriter writer = small(file, "webm", "vp8")) {
      writer.write(0, OutputPacket.inOrder(new byte[] {1}, 0, 1, 0, true));
      for (int offset : new int[] {2, -1}) {
        OutputPacket outside = OutputPacket.inOrder(new byte[4], offset, 3, 40, false);
        assertThrows(MediaException.class, () -> writer.write(0, outside));
      }
    }
    assertTrue(Clips.namesIn(folder).stream().noneMatch(name -> name.startsWith("unfinished")));
  }

  @Test
  void whatCannotBeReadOrWrittenIsToldInOneLine() throws Exception {
    Path text = Files.writeString(folder.resolve("text.webm"), "no container at all, only text\n".repeat(50));
    Path empty = Files.createFile(folder.resolve("empty.ivf"));
    for (Path bad : List.of(text, empty, folder, folder.resolve("missing.webm"))) {
      String message = assertThrows(MediaException.class, () -> MediaReader.open(bad)).getMessage();
      assertTrue(message.startsWith(bad.toString()) && !message.contains("\n"), message);
    }
    Path nowhere = folder.resolve("no/such/folder/a.webm");
    assertThrows(MediaException.class, () -> small(nowhere, "webm", "vp8"));
    Path wrong = folder.resolve("wrong.ivf");
    assertThrows(MediaException.class, () -> small(wrong, "ivf", "h263"));
    assertThrows(MediaException.class, () -> small(wrong, "ivf", "nonsense"));
  }

  @Test
  void qualityFallsWithTheBitRateAndSeesOtherColours() throws Exception {
    Path source = Clips.testVideo(folder.resolve("source.webm"), "320x180", "30", 30, "");
    Rectangle nothing = new Rectangle();
    Path same = folder.resolve("same.webm");
    copy(source, same, "webm");
    assertEquals(100, VideoQuality.psnr(source, same, nothing));
    String coder = " -c:v libvpx -deadline realtime -cpu-used 4 -b:v ";
    String from = "-i " + source;
    double good = psnr(source, from + coder + "4M", "good.webm");
    double poor = psnr(source, from + coder + "60k", "poor.webm");
    assertTrue(good > poor + 3 && good > 30, "good " + good + ", poor " + poor);
    double swapped = psnr(source, from + " -vf swapuv" + coder + "4M", "swapped.webm");
    assertTrue(swapped < 15, "swapped chroma: " + swapped);
    String box = " -vf drawbox=x=200:y=20:w=80:h=40:t=fill:color=red";
    Path boxed = Clips.make(from + box + coder + "4M", folder.resolve("boxed.webm"));
    double without = VideoQuality.psnr(source, boxed, new Rectangle(200, 20, 80, 40));
    assertTrue(without > good - 3 && without > VideoQuality.psnr(source, boxed, nothing) + 5, "without " + without);
  }

  private static double psnr(Path source, String arguments, String name) throws Exception {
    return VideoQuality.psnr(source, Clips.make(arguments, folder.resolve(name)), new Rectangle());
  }
}
