package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import com.zarvo.qvs.host.support.Beeps;
import com.zarvo.qvs.host.support.Clips;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Long files by many workers: what comes out hangs on nothing but the input, and nothing lacks at the joins. */
@Timeout(300)
class VodTest {
  @TempDir static Path folder;
  private static Path clip;
  /** What one worker makes of the clip, and its work folder, which is kept. */
  private static VodRun one;

  @BeforeAll
  static void runOneWorker() throws Exception {
    clip = VodRun.clip(folder);
    one = new VodRun(clip, folder.resolve("one"));
    Captured run = one.run("--workers", "1", "--keep");
    assertEquals(0, run.code(), run.err());
  }

  private static void assertSame(VodRun other) throws Exception {
    assertEquals(one.sums(), other.sums());
  }

  /** Pictures and times are those of a straight run, and so is every sample of sound. */
  @Test
  void joinsLackNothing() throws Exception {
    Path straight = folder.resolve("straight");
    Captured run =
        Captured.run(
            "transcode", clip.toString(), "-o", straight.toString(), "--rendition", VodRun.RENDITION, "--no-contact-sheet");
    assertEquals(0, run.code(), run.err());
    Path whole = straight.resolve(one.file().getFileName());
    assertEquals(Clips.times(whole).stream().sorted().toList(), Clips.times(one.file()).stream().sorted().toList());
    assertTrue(Clips.keyTimes(one.file()).containsAll(Clips.keyTimes(whole)));
    assertArrayEquals(Beeps.samples(whole, 0, ""), Beeps.samples(one.file(), 0, ""));
    List<Double> quality = Clips.psnr(clip, one.file());
    assertTrue(quality.stream().allMatch(db -> db > 20), "a picture in the place of another: " + quality);
  }

  @Test
  void manyWorkersGiveTheSameBytes() throws Exception {
    VodRun four = new VodRun(clip, folder.resolve("four"));
    assertEquals(0, four.run("--workers", "4").code());
    assertSame(four);
    assertFalse(Files.exists(four.work()), "the work folder stays");
  }

  /** A worker, then the controller, killed in the middle: what is done is not done again, and nothing shows. */
  @Test
  void goesOnAfterKills() throws Exception {
    VodRun killed = new VodRun(clip, folder.resolve("killed"));
    Process controller = killed.start("--workers", "1");
    killed.await(".result.json");
    ProcessHandle worker = VodRun.await(() -> controller.children().findFirst().orElse(null));
    worker.destroyForcibly();
    ProcessHandle next =
        VodRun.await(
            () -> controller.children().filter(child -> child.pid() != worker.pid()).findFirst().orElse(null));
    controller.destroyForcibly().waitFor();
    next.onExit().get();
    Path report = folder.resolve("killed.json");
    Captured resumed = killed.run("--workers", "2", "--resume", "--report", report.toString());
    assertEquals(0, resumed.code(), resumed.err());
    assertSame(killed);
    JsonObject told = JsonParser.parseString(Files.readString(report)).getAsJsonObject();
    long tries = told.getAsJsonObject("sound").get("tries").getAsLong();
    assertEquals(1, tries, "the sound was done before: " + told);
  }

  /** A result that was damaged since is noticed and made again. */
  @Test
  void makesDamagedResultsAgain() throws Exception {
    Path packets;
    try (Stream<Path> files = Files.list(one.work().resolve("tasks"))) {
      packets = files.filter(file -> file.getFileName().toString().matches("00001.*packets")).findFirst().orElseThrow();
    }
    byte[] bytes = Files.readAllBytes(packets);
    bytes[bytes.length / 2] ^= 1;
    Files.write(packets, bytes);
    String before = one.sums();
    Captured again = one.run("--workers", "2", "--keep", "--resume", "--overwrite");
    assertEquals(0, again.code(), again.err());
    assertTrue(again.err().contains("is not what was written"), again.err());
    assertEquals(before, one.sums());
  }

  /** No file may grow beyond a few kilobytes: a disk that is full as soon as work begins. */
  @Test
  void tellsOfAFullDiskAndGoesOn() throws Exception {
    VodRun full = new VodRun(clip, folder.resolve("full"));
    List<String> limit = List.of("bash", "-c", "ulimit -f 48; exec \"$@\"", "limit");
    Process controller = full.startBy(limit, "--workers", "2", "--tries", "1");
    assertEquals(1, controller.waitFor());
    assertTrue(full.said().contains("--resume goes on with what is done"), full.said());
    Captured resumed = full.run("--workers", "2", "--resume");
    assertEquals(0, resumed.code(), resumed.err());
    assertSame(full);
  }

  @ParameterizedTest
  @CsvSource(
      delimiter = '|',
      value = {
        "open | .ts | 2 | -x264-params open-gop=1:keyint=25:bframes=3:b-adapt=0 -c:v libx264 -c:a aac",
        "variable | .mp4 | 2 | -vf select=not(mod(n\\,7))+lt(n\\,40) -vsync vfr -c:v libx264 -g 25 -c:a aac",
        "oneKey | .mkv | 1 | -c:v libx264 -g 9999 -sc_threshold 0 -c:a aac",
        "three | .mp4 | 1 | -frames:v 3 -an -c:v libx264",
        "fields | .ts | 2 | -flags +ildct+ilme -g 12 -bf 2 -c:v mpeg2video -b:v 1M -c:a mp2",
        "turned | .mp4 | 2 | -metadata:s:v rotate=90 -c:v libx264 -g 50 -an"
      })
  void makesOddInputWhole(String name, String ending, int chunks, String coders) throws Exception {
    Path odd =
        Clips.make(
            "-f lavfi -i testsrc2=s=128x96:r=25:d=4 -f lavfi -i sine=r=48000:d=6 -preset ultrafast " + coders,
            folder.resolve(name + ending));
    Path straight = folder.resolve(name + "-straight");
    Path out = folder.resolve(name + "-out");
    Path report = folder.resolve(name + ".json");
    String wanted = " --rendition 96x128@150k,bframes=2 --no-audio -o ";
    Captured run = Captured.run(("transcode " + odd + " --no-contact-sheet" + wanted + straight).split(" "));
    assertEquals(0, run.code(), run.err());
    Captured parts = Captured.run(("vod " + odd + " --chunk 2 --workers 2 --report " + report + wanted + out).split(" "));
    assertEquals(0, parts.code(), parts.err());
    Path whole = straight.resolve(name + "_96x128.mp4");
    Path file = out.resolve(name + "_96x128.mp4");
    assertEquals(Clips.times(whole).stream().sorted().toList(), Clips.times(file).stream().sorted().toList());
    assertTrue(Clips.psnr(whole, file).stream().allMatch(db -> db > 20), "a picture in the place of another");
    JsonObject told = JsonParser.parseString(Files.readString(report)).getAsJsonObject();
    assertEquals(chunks, told.getAsJsonArray("chunks").size(), parts.err());
    assertEquals(0, told.getAsJsonObject("input").get("damagedPictures").getAsLong());
  }

  @ParameterizedTest
  @CsvSource({"--format ogg, 2", "--chunk 0, 2", "--partition p, 2", "--resume, 1"})
  void refusesInOneLine(String options, int code) {
    VodRun refused = new VodRun(clip, folder.resolve("refused"));
    Captured run = refused.run(options.split(" "));
    assertEquals(code, run.code(), run.err());
    assertEquals(1, run.err().lines().count(), run.err());
    assertFalse(Files.exists(refused.work()));
  }
}
