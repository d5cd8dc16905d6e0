package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.support.Clips;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

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
    assertRefused("flv cannot hold hevc", "transcode", in, "-o", out, "--format", "flv", "--rendition", "64x48,codec=h265");
    assertRefused("--loud", "decode", in, "--loud");
    assertTrue(Files.notExists(Path.of(out)), "a refused call makes no folder");
  }

  /** Pictures that nobody can decode. */
  private static Path unknownCodec(String name) throws Exception {
    Path file = Clips.make("-f lavfi -i testsrc2=size=64x64 -frames:v 3 -c:v mjpeg", folder.resolve(name));
    String bytes = Files.readString(file, StandardCharsets.ISO_8859_1);
    return Files.writeString(file, bytes.replace("V_MJPEG", "V_OTHER"), StandardCharsets.ISO_8859_1);
  }

  @Test
  void filesThatCannotServe() throws Exception {
    Path out = folder.resolve("out");
    Path text = Files.writeString(folder.resolve("text.webm"), "only text ".repeat(100));
    Path other = unknownCodec("other.mkv");
    Path audio = Clips.make("-f lavfi -i sine -t 0.2", folder.resolve("sound.wav"));
    Path empty = Files.createDirectory(folder.resolve("empty"));
    Path frame = Files.writeString(folder.resolve("broken.png"), "no picture");
    for (String command : List.of("transcode", "decode")) {
      for (Path bad : List.of(folder.resolve("missing.webm"), empty, text, other, audio)) {
        if (command.equals("decode")) assertRefused(bad.getFileName().toString(), command, bad.toString());
        else if (bad != audio) assertRefused(bad.getFileName().toString(), command, bad.toString(), "-o", out.toString());
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
    // No file may grow beyond this, as on a disk that is full; the process is one of its own, for the limit is too.
    String limited = "ulimit -f 4; exec \"$0\" \"$@\"";
    for (String format : List.of("webm", "ivf", "mp4", "flv")) {
      Path out = folder.resolve("full-" + format);
      Path said = folder.resolve("full.txt");
      String[] arguments = {
        "transcode", clip.toString(), "-o", out.toString(), "--format", format, "--no-contact-sheet", "--rendition",
        "96x72@9m"
      };
      assertEquals(1, Captured.start(List.of("bash", "-c", limited), said, arguments).waitFor(), format);
      List<String> lines = Files.readAllLines(said);
      assertEquals(1, lines.size(), lines.toString());
      assertTrue(lines.get(0).contains("clip_96x72." + format + ": ") && lines.get(0).contains("File too large"), lines.get(0));
      assertEquals(List.of(), Clips.namesIn(out));
    }
  }

  @Test
  void whatIsThereAlreadyStaysUnlessOneSaysSo() throws Exception {
    Path out = Files.createDirectories(folder.resolve("kept"));
    Path file = Files.writeString(out.resolve("clip_64x48.webm"), "not to be lost");
    String[] arguments = {"transcode", clip.toString(), "-o", out.toString(), "--format", "webm", "--rendition", "64x48"};
    assertRefused("clip_64x48.webm exists already; --overwrite", arguments);
    assertEquals("not to be lost", Files.readString(file));
    assertEquals(List.of("clip_64x48.webm"), Clips.namesIn(out));
    String[] replacing = Arrays.copyOf(arguments, arguments.length + 1);
    replacing[arguments.length] = "--overwrite";
    // Two at once: neither takes what the other has not finished.
    Path[] said = {folder.resolve("one.txt"), folder.resolve("two.txt")};
    Process[] runs = {Captured.start(said[0], replacing), Captured.start(said[1], replacing)};
    for (int i = 0; i < 2; i++) assertEquals(0, runs[i].waitFor(), Files.readString(said[i]));
    assertEquals(4, Clips.times(file).size());
    assertEquals(List.of("clip_64x48.webm", "clip_contact-sheet.png"), Clips.namesIn(out));
  }

  @Test
  void aReportIsTriedFirstAndTellsOfFailureToo() throws Exception {
    Path out = folder.resolve("reported");
    Path text = Files.writeString(folder.resolve("words.webm"), "only words ".repeat(100));
    Path report = folder.resolve("report.json");
    String nowhere = folder.resolve("nowhere").resolve("report.json").toString();
    assertRefused("report.json", "transcode", clip.toString(), "-o", out.toString(), "--report", nowhere);
    assertRefused("input itself", "transcode", clip.toString(), "-o", out.toString(), "--report", clip.toString());
    assertTrue(Files.notExists(out), "no work before the report's place is known to serve");
    assertRefused("words.webm", "transcode", text.toString(), "-o", out.toString(), "--report", report.toString());
    String json = Files.readString(report);
    assertTrue(json.contains("\"outcome\": \"failed\"") && json.contains("words.webm: "), json);
    assertTrue(Clips.namesIn(folder).stream().noneMatch(name -> name.endsWith(".part")));
  }

  @ParameterizedTest
  @CsvSource({"mp4,-movflags faststart", "mkv,''", "flv,''"})
  void inputThatIsCutOffEndsEarly(String ending, String options) throws Exception {
    String coders = " -t 6 -c:v libx264 -preset ultrafast -c:a aac " + options;
    Path whole =
        Clips.make("-f lavfi -i testsrc2=size=64x48:rate=25 -f lavfi -i sine" + coders, folder.resolve("whole." + ending));
    byte[] bytes = Files.readAllBytes(whole);
    Path cut = Files.write(folder.resolve("cut." + ending), Arrays.copyOf(bytes, bytes.length / 2));
    String out = folder.resolve("early-" + ending).toString();
    Path report = folder.resolve(ending + ".json");
    String[] more = {"-o", out, "--rendition", "64x48", "--no-contact-sheet", "--report", report.toString()};
    Captured early = Captured.run(Stream.concat(Stream.of("transcode", cut.toString()), Stream.of(more)).toArray(String[]::new));
    assertEquals(1, early.code(), early.err());
    Matcher told = Pattern.compile("ended early at ([\\d.]+) s of 6.0 s").matcher(early.err());
    assertTrue(told.find(), early.err());
    assertEquals(3, Double.parseDouble(told.group(1)), 1);
    assertTrue(Files.readString(report).contains("\"outcome\": \"ended early\""));
    int pictures = Clips.times(Path.of(out).resolve("cut_64x48.mp4")).size();
    assertEquals(25 * Double.parseDouble(told.group(1)), pictures, 5, "what came before is kept");
    // What FLV promises may be of the sound alone, which is left out here.
    if (!ending.equals("flv")) assertEquals(1, Captured.run("decode", cut.toString()).code());
    Captured full = Captured.run(Stream.concat(Stream.of("transcode", whole.toString()), Stream.of(more)).toArray(String[]::new));
    assertEquals(0, full.code(), full.err());
  }

  @Test
  void packetsThatHoldNoPicture() throws Exception {
    byte[] bytes = Files.readAllBytes(Clips.testVideo(folder.resolve("a.ivf"), "64x64", "30", 3, ""));
    // Keep header and first bytes, so the container is well, and spoil the frames.
    for (int i = 54; i < bytes.length; i++) bytes[i] = 0;
    bytes[44] |= 1;
    Path hollow = Files.write(folder.resolve("hollow.ivf"), Arrays.copyOf(bytes, 60));
    Captured run = Captured.run("decode", hollow.toString());
    assertNotEquals(0, run.code());
    assertTrue(!run.err().contains("\tat "), run.err());
  }

  @Test
  void theProcessItselfSaysOneLine() throws Exception {
    Path other = unknownCodec("alone.mkv");
    Path said = folder.resolve("said.txt");
    assertEquals(1, Captured.start(said, "decode", other.toString()).waitFor());
    List<String> lines = Files.readAllLines(said);
    assertEquals(1, lines.size(), lines.toString());
    assertTrue(lines.get(0).startsWith("qvs: ") && lines.get(0).contains("alone.mkv: video codec 'none'"), lines.get(0));
  }

  @Test
  void helpIsThere() {
    Captured run = Captured.run("--help");
    assertEquals(0, run.code());
    assertTrue(run.out().contains("transcode") && run.out().contains("decode"), run.out());
  }
}
