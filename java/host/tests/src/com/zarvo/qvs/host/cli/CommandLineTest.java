package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.support.Clips;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Bad input: one clear line, a code that is not 0, and nothing left behind. */
class CommandLineTest {
  @TempDir static Path folder;
  private static Path clip;

  @BeforeAll
  static void makeClip() throws Exception {
    clip = Clips.testVideo(folder.resolve("clip.webm"), "128x96", "30", 4, "");
  }

  private static void assertRefused(String expected, String... arguments) {
    Captured run = Captured.run(arguments);
    String what = String.join(" ", arguments) + ": " + run.err();
    assertNotEquals(0, run.code(), what);
    assertEquals(1, run.err().lines().count(), what);
    assertTrue(run.err().startsWith("qvs: ") && run.err().contains(expected), what);
  }

  @Test
  void wordsThatMakeNoSense() {
    String out = folder.resolve("none").toString();
    String in = clip.toString();
    assertRefused("sing", "sing");
    assertRefused("INPUT", "transcode", "-o", out);
    assertRefused("-o", "transcode", in);
    assertRefused("--rendition", "transcode", in, "-o", out, "--rendition", "12by8");
    assertRefused("odd", "transcode", in, "-o", out, "--rendition", "641x360");
    assertRefused("--overlay", "transcode", in, "-o", out, "--overlay", "a.png,align=outside");
    assertRefused("--format", "transcode", in, "-o", out, "--format", "avi");
    assertRefused("--keyframes", "transcode", in, "-o", out, "--keyframes", "-1");
    assertRefused("--deinterlace", "transcode", in, "-o", out, "--deinterlace", "maybe");
    assertRefused("--preset", "transcode", in, "-o", out, "--preset", "hasty");
    assertRefused("--hls-window", "transcode", in, "-o", out, "--format", "hls", "--hls-window", "2");
    assertRefused("--hls-window", "transcode", in, "-o", out, "--hls-window", "5");
    assertRefused("--fps", "transcode", in, "-o", out, "--fps", "1/0");
    assertRefused("flv cannot hold vp8", "transcode", in, "-o", out, "--format", "flv", "--rendition", "64x48,codec=vp8");
    assertRefused("--loud", "decode", in, "--loud");
    assertTrue(Files.notExists(Path.of(out)), "a refused call makes no folder");
  }

  @Test
  void filesThatCannotServe() throws Exception {
    Path out = folder.resolve("out");
    Path text = Files.writeString(folder.resolve("text.webm"), "only text ".repeat(100));
    Path other = Clips.make("-f lavfi -i testsrc2=size=64x64 -frames:v 3 -c:v mjpeg", folder.resolve("other.mkv"));
    Path audio = Clips.make("-f lavfi -i sine -t 0.2", folder.resolve("sound.wav"));
    Path frame = Files.writeString(folder.resolve("broken.png"), "no picture");
    for (String command : List.of("transcode", "decode")) {
      for (Path bad : List.of(folder.resolve("missing.webm"), folder, text, other, audio)) {
        if (command.equals("decode")) assertRefused(bad.getFileName().toString(), command, bad.toString());
        else assertRefused(bad.getFileName().toString(), command, bad.toString(), "-o", out.toString());
      }
    }
    assertRefused("broken.png", "transcode", clip.toString(), "-o", out.toString(), "--overlay", frame.toString());
    assertRefused("gone.png", "transcode", clip.toString(), "-o", out.toString(), "--overlay", "gone.png");
    assertRefused("on=7", "transcode", clip.toString(), "-o", out.toString(), "--overlay", "gone.png,on=7");
    assertRefused("text.webm", "transcode", clip.toString(), "-o", text.toString());
    assertTrue(Files.notExists(out), "refused input leaves no folder");
  }

  @Test
  void aFullDiskIsToldAndLeavesNoHalfFile() throws Exception {
    for (String format : List.of("webm", "ivf", "mp4", "flv")) {
      Path out = Files.createDirectories(folder.resolve("full-" + format));
      Files.createSymbolicLink(out.resolve("clip_64x48." + format + ".part"), Path.of("/dev/full"));
      assertRefused(
          "clip_64x48." + format + ": ", "transcode", clip.toString(), "-o", out.toString(), "--format", format,
          "--no-contact-sheet", "--rendition", "96x72", "--rendition", "64x48");
      assertTrue(Clips.namesIn(out).stream().noneMatch(name -> name.startsWith("clip_64x48")), format);
    }
  }

  @Test
  void packetsThatHoldNoPicture() throws Exception {
    byte[] bytes = Files.readAllBytes(Clips.testVideo(folder.resolve("a.ivf"), "64x64", "30", 3, ""));
    // Keep header and first bytes, so the container is well, and spoil the frames.
    for (int i = 54; i < bytes.length; i++) bytes[i] = 0;
    bytes[44] |= 1;
    Path hollow = Files.write(folder.resolve("hollow.ivf"), java.util.Arrays.copyOf(bytes, 60));
    Captured run = Captured.run("decode", hollow.toString());
    assertNotEquals(0, run.code());
    assertTrue(!run.err().contains("\tat "), run.err());
  }

  @Test
  void theProcessItselfSaysOneLine() throws Exception {
    Path other = Clips.make("-f lavfi -i testsrc2=size=64x64 -frames:v 3 -c:v mjpeg", folder.resolve("alone.mkv"));
    Path said = folder.resolve("said.txt");
    assertEquals(1, Captured.start(said, "decode", other.toString()).waitFor());
    List<String> lines = Files.readAllLines(said);
    assertEquals(1, lines.size(), lines.toString());
    assertTrue(lines.get(0).startsWith("qvs: ") && lines.get(0).contains("alone.mkv: video codec 'mjpeg'"), lines.get(0));
  }

  @Test
  void helpIsThere() {
    Captured run = Captured.run("--help");
    assertEquals(0, run.code());
    assertTrue(run.out().contains("transcode") && run.out().contains("decode"), run.out());
  }
}
