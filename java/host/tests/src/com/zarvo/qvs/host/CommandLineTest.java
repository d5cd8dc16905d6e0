package com.zarvo.qvs.host;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

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
    clip = Clips.testPicture(folder.resolve("clip.webm"), "128x96", "30", 4, "");
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
    assertRefused("--loud", "decode", in, "--loud");
    assertTrue(Files.notExists(Path.of(out)), "a refused call makes no folder");
  }

  @Test
  void filesThatCannotServe() throws Exception {
    Path out = folder.resolve("out");
    Path text = Files.writeString(folder.resolve("text.webm"), "only text ".repeat(100));
    Path h264 = Clips.make("-f lavfi -i testsrc2=size=64x64 -frames:v 3 -c:v mpeg4", folder.resolve("other.mp4"));
    Path sound = Clips.make("-f lavfi -i sine -t 0.2", folder.resolve("sound.wav"));
    Path picture = Files.writeString(folder.resolve("broken.png"), "no picture");
    for (String command : List.of("transcode", "decode")) {
      for (Path bad : List.of(folder.resolve("missing.webm"), folder, text, h264, sound)) {
        if (command.equals("decode")) assertRefused(bad.getFileName().toString(), command, bad.toString());
        else assertRefused(bad.getFileName().toString(), command, bad.toString(), "-o", out.toString());
      }
    }
    assertRefused("broken.png", "transcode", clip.toString(), "-o", out.toString(), "--overlay", picture.toString());
    assertRefused("gone.png", "transcode", clip.toString(), "-o", out.toString(), "--overlay", "gone.png");
    assertRefused("on=7", "transcode", clip.toString(), "-o", out.toString(), "--overlay", "gone.png,on=7");
    assertRefused("text.webm", "transcode", clip.toString(), "-o", text.toString());
    assertTrue(Files.notExists(out), "refused input leaves no folder");
  }

  @Test
  void packetsThatHoldNoPicture() throws Exception {
    byte[] bytes = Files.readAllBytes(Clips.testPicture(folder.resolve("a.ivf"), "64x64", "30", 3, ""));
    // Keep header and first bytes, so the container is well, and spoil the frames.
    for (int i = 54; i < bytes.length; i++) bytes[i] = 0;
    bytes[44] |= 1;
    Path hollow = Files.write(folder.resolve("hollow.ivf"), java.util.Arrays.copyOf(bytes, 60));
    Captured run = Captured.run("decode", hollow.toString());
    assertNotEquals(0, run.code());
    assertTrue(!run.err().contains("\tat "), run.err());
  }

  @Test
  void helpIsThere() {
    Captured run = Captured.run("--help");
    assertEquals(0, run.code());
    assertTrue(run.out().contains("transcode") && run.out().contains("decode"), run.out());
  }
}
