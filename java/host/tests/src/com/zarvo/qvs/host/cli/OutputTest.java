package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.support.Clips;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** What stands in the files: their times, and that nothing stands there that is not whole. */
class OutputTest {
  private static final String CODERS = " -c:v libx264 -preset ultrafast -c:a aac ";
  private static final double FRAME_OF_AUDIO = 1024 / 44100.0;

  @TempDir static Path folder;

  private static String picture(String rate, int seconds) {
    return "-f lavfi -i testsrc2=s=160x90:r=" + rate + ":d=" + seconds + " ";
  }

  private static String tone(int seconds) {
    return "-f lavfi -i sine=r=44100:d=" + seconds;
  }

  private static Path source(String name) throws Exception {
    Path file = folder.resolve(name + (name.equals("far") ? ".ts" : ".mp4"));
    if (Files.exists(file)) return file;
    return switch (name) {
      case "vfr" -> Clips.make(picture("30", 6) + "-vf select=not(mod(n\\,7))+lt(n\\,40) -vsync vfr" + CODERS, file);
      case "slow" -> Clips.make(picture("1", 9) + tone(9) + " -bf 2" + CODERS, file);
      case "long" -> Clips.make(picture("25", 2) + tone(7) + CODERS, file);
      case "short" -> Clips.make(picture("25", 6) + tone(2) + CODERS, file);
      case "late" -> Clips.make(picture("25", 6) + "-itsoffset 3 " + tone(3) + CODERS, file);
      case "latePicture" -> Clips.make("-itsoffset 3 " + picture("25", 5) + tone(8) + CODERS, file);
      default -> Clips.make(picture("25", 4) + tone(4) + " -bf 2 -output_ts_offset 20000" + CODERS, file);
    };
  }

  /** Times and ends of all packets of a kind, in seconds. */
  private static List<double[]> spans(Path file, String kind) throws Exception {
    return spans(file.toString(), kind);
  }

  private static List<double[]> spans(String file, String kind) throws Exception {
    List<double[]> spans = new ArrayList<>();
    String told =
        Clips.run(
            "ffprobe", "-v", "quiet", "-select_streams", kind, "-show_entries", "packet=pts_time,duration_time", "-of",
            "csv=p=0", file);
    for (String line : told.lines().toList()) {
      String[] parts = line.split(",");
      if (parts.length < 1 || parts[0].isEmpty() || parts[0].equals("N/A")) continue;
      double start = Double.parseDouble(parts[0]);
      double length = parts.length > 1 && !parts[1].equals("N/A") && !parts[1].isEmpty() ? Double.parseDouble(parts[1]) : 0;
      spans.add(new double[] {start, start + length});
    }
    return spans;
  }

  private static List<String> playlist(Path out) throws IOException {
    try (Stream<Path> folders = Files.list(out)) {
      Path rendition = folders.filter(Files::isDirectory).findFirst().orElseThrow();
      return Files.readAllLines(rendition.resolve(Container.PLAYLIST));
    }
  }

  private static Captured transcode(Path source, Path out, String... more) {
    return transcodeTo("h264", source, out, more);
  }

  private static Captured transcodeTo(String codec, Path source, Path out, String... more) {
    List<String> arguments = new ArrayList<>(List.of("transcode", source.toString(), "-o", out.toString()));
    arguments.addAll(List.of("--rendition", "160x90@200k,codec=" + codec));
    arguments.addAll(List.of(more));
    return Captured.run(arguments.toArray(new String[0]));
  }

  /** Each segment's length must lead to where the next one's packets begin, and the last one's to the end. */
  @ParameterizedTest
  @CsvSource({
    "vfr, 5.867, h264", "slow, 9, h264", "long, 7, h264", "short, 6, h264", "late, 6, h264", "latePicture, 8, h264",
    "vfr, 5.867, h265", "long, 7, h265", "late, 6, h265", "latePicture, 8, h265"
  })
  void playlistsTellTheTimesOfTheirPackets(String name, double length, String codec) throws Exception {
    Path out = folder.resolve("hls-" + name + codec);
    Captured run = transcodeTo(codec, source(name), out, "--format", "hls");
    assertEquals(0, run.code(), run.err());
    Path rendition;
    try (Stream<Path> folders = Files.list(out)) {
      rendition = folders.filter(Files::isDirectory).findFirst().orElseThrow();
    }
    double begin = 0;
    double told = -1;
    for (String line : Files.readAllLines(rendition.resolve(Container.PLAYLIST))) {
      if (line.startsWith("#EXTINF:")) told = Double.parseDouble(line.substring(8, line.length() - 1));
      if (line.isEmpty() || line.startsWith("#")) continue;
      String file = rendition.resolve(line).toString();
      if (codec.equals("h265")) file = "concat:" + rendition.resolve("init_00000.mp4") + "|" + file;
      List<double[]> frames = spans(file, "v");
      List<double[]> audio = spans(file, "a");
      double tolerance = FRAME_OF_AUDIO + 0.001;
      for (double[] span : frames)
        assertTrue(span[0] > begin - 0.001 && span[0] < begin + told + 0.001, line + ": picture at " + span[0]);
      for (double[] span : audio)
        assertTrue(span[0] > begin - tolerance && span[0] < begin + told + tolerance, line + ": sound at " + span[0]);
      if (begin > 0 && !frames.isEmpty()) assertEquals(begin, frames.get(0)[0], 0.001, line + " begins with a picture");
      begin += told;
    }
    assertEquals(length, begin, 2 * FRAME_OF_AUDIO, "the whole length");
  }

  @ParameterizedTest
  @ValueSource(strings = {"mp4", "mkv", "flv", "ts", "hls"})
  void filesStartAtZero(String format) throws Exception {
    Path out = folder.resolve("zero-" + format);
    assertEquals(0, transcode(source("far"), out, "--format", format).code());
    Path file = out.resolve("far_160x90" + (format.equals("hls") ? "/segment_00000.ts" : "." + format));
    List<double[]> frames = spans(file, "v");
    List<double[]> audio = spans(file, "a");
    List<double[]> sourceFrames = spans(source("far"), "v");
    List<double[]> sourceAudio = spans(source("far"), "a");
    double offset = sourceFrames.get(0)[0] - sourceAudio.get(0)[0];
    assertEquals(0, Math.min(frames.get(0)[0], audio.get(0)[0]), 0.025, "the first packet");
    assertEquals(offset, frames.get(0)[0] - audio.get(0)[0], 0.0015 + (format.equals("mp4") ? FRAME_OF_AUDIO : 0));
    String length =
        Clips.run("ffprobe", "-v", "quiet", "-show_entries", "format=duration", "-of", "csv=p=0", file.toString());
    if (!format.equals("hls")) assertEquals(4.04, Double.parseDouble(length.strip()), 0.1);
  }

  @ParameterizedTest
  @CsvSource({"h264, ts", "h265, m4s"})
  void aRestartedLiveRunGoesOnWhereTheFormerStopped(String codec, String ending) throws Exception {
    Path out = folder.resolve("live-" + codec);
    String[] options = {"--format", "hls", "--hls-window", "4", "--overwrite"};
    for (int i = 0; i < 2; i++) {
      Captured run = transcodeTo(codec, source("short"), out, options);
      assertEquals(0, run.code(), run.err());
    }
    List<String> lines = playlist(out);
    assertTrue(lines.contains("#EXT-X-MEDIA-SEQUENCE:2"), lines.toString());
    List<String> names = lines.stream().filter(line -> line.startsWith("segment")).toList();
    assertEquals(
        Stream.of("segment_00002.", "segment_00003.", "segment_00004.", "segment_00005.").map(n -> n + ending).toList(),
        names);
    int seam = lines.indexOf("#EXT-X-DISCONTINUITY");
    assertTrue(seam > lines.indexOf(names.get(0)) && seam < lines.indexOf(names.get(1)), lines.toString());
    assertEquals(4, lines.stream().filter(line -> line.startsWith("#EXT-X-PROGRAM-DATE-TIME:")).count());
    assertEquals("#EXT-X-ENDLIST", lines.get(lines.size() - 1));
    if (codec.equals("h264")) return;
    List<String> maps = lines.stream().filter(line -> line.startsWith("#EXT-X-MAP:")).toList();
    assertEquals(List.of("#EXT-X-MAP:URI=\"init_00000.mp4\"", "#EXT-X-MAP:URI=\"init_00003.mp4\""), maps);
    assertEquals(0, transcodeTo("h264", source("short"), out, options).code());
    assertTrue(playlist(out).stream().noneMatch(line -> line.startsWith("#EXT-X-MAP:") || line.endsWith("m4s")));
    assertTrue(Clips.namesIn(out.resolve("short_160x90")).stream().allMatch(name -> name.matches(".*(ts|m3u8)")));
  }

  private interface InSmallFolder {
    void run(Path small) throws Exception;
  }

  /** Runs with a folder that holds so many kilobytes and no more; skipped where nobody may mount one. */
  private static void withRoom(int kilobytes, InSmallFolder work) throws Exception {
    Path small = Files.createTempDirectory("small");
    Process mount =
        new ProcessBuilder("mount", "-t", "tmpfs", "-o", "size=" + kilobytes + "k", "tmpfs", small.toString()).start();
    try {
      assumeTrue(mount.waitFor() == 0, "a tmpfs can be mounted");
      work.run(small);
    } finally {
      new ProcessBuilder("umount", small.toString()).start().waitFor();
      Files.deleteIfExists(small);
    }
  }

  /**
   * From far too little room to enough: a run either fails with a line that names a file and why, and leaves nothing
   * under a final name that is not whole, or all of its files are there.
   */
  @ParameterizedTest
  @CsvSource({
    "mp4, short, --format mp4",
    "hls, short, --format hls --rendition 160x90@200k;codec=h265",
    "mkv, short, --format mkv",
    "flv, short, --format flv",
    "webm, short, --format webm --audio opus",
    "ogg, long, --no-video --format ogg --audio vorbis@96k",
    "aac, long, --no-video --format aac --audio aac@128k"
  })
  void aFullDiskIsAFailure(String format, String name, String options) throws Exception {
    List<String> more = new ArrayList<>(List.of(options.replace(';', ',').split(" ")));
    Path ample = folder.resolve("ample-" + format);
    List<String> arguments = new ArrayList<>(List.of("transcode", source(name).toString()));
    if (!more.contains("--no-video")) arguments.addAll(List.of("--rendition", "160x90@200k"));
    arguments.addAll(more);
    Captured whole = runInto(ample, arguments);
    assertEquals(0, whole.code(), whole.err());
    long all = sizeOf(ample);
    int failures = 0;
    int successes = 0;
    for (double share : new double[] {0.05, 0.5, 0.9, 0.97, 1.02, 4}) {
      int kilobytes = (int) (4 * Math.max(3, Math.round(all * share / 4096)));
      boolean[] failed = new boolean[1];
      withRoom(
          kilobytes,
          small -> {
            Captured run = runInto(small, arguments);
            failed[0] = run.code() != 0;
            List<Path> left = filesIn(small);
            if (!failed[0]) {
              assertEquals(filesIn(ample).size(), left.size(), "all files at " + kilobytes + " KiB");
              return;
            }
            assertTrue(run.err().contains(small.toString()) && run.err().contains("No space left"), run.err());
            for (Path file : left) {
              Path same = ample.resolve(small.relativize(file));
              assertTrue(Files.exists(same), file + " is no part");
              if (!file.toString().endsWith("json"))
                assertTrue(Files.size(file) > 0.9 * Files.size(same), file + " is whole");
            }
          });
      if (failed[0]) failures++;
      else successes++;
    }
    assertNotEquals(0, failures);
    assertNotEquals(0, successes);
  }

  private static Captured runInto(Path out, List<String> arguments) {
    List<String> all = new ArrayList<>(arguments);
    all.addAll(List.of("-o", out.toString(), "--report", out.resolve("report.json").toString()));
    try {
      Files.createDirectories(out);
    } catch (IOException e) {
      throw new IllegalStateException(e);
    }
    return Captured.run(all.toArray(new String[0]));
  }

  private static List<Path> filesIn(Path out) throws IOException {
    try (Stream<Path> files = Files.walk(out)) {
      return files.filter(Files::isRegularFile).sorted().toList();
    }
  }

  private static long sizeOf(Path out) throws IOException {
    long size = 0;
    for (Path file : filesIn(out)) size += (Files.size(file) + 4095) / 4096 * 4096;
    return size;
  }
}
