package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.support.Beeps;
import com.zarvo.qvs.host.support.Clips;
import java.io.IOException;
import java.io.OutputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Input that comes as it comes: through FIFOs and standard input, cut off, interrupted. */
@Timeout(120)
class LiveTest {
  private static final String CODERS = "-c:v libx264 -preset ultrafast -bf 2 -g 25 -c:a aac ";

  @TempDir static Path folder;

  /** A moving picture with beeps, its times far from 0 as those of an encoder that has run for a while. */
  private static Path clip(String name, int seconds) throws Exception {
    String muxer = name.endsWith("mp4") ? " -movflags frag_keyframe+empty_moov" : "";
    return Clips.make(
        "-f lavfi -i testsrc2=size=320x180:rate=25 -f lavfi -i " + Beeps.source(48_000, seconds) + " -t " + seconds
            + " " + CODERS + "-output_ts_offset 50" + muxer,
        folder.resolve(name));
  }

  private static Path fifo(String name) throws Exception {
    Path fifo = folder.resolve(name);
    Clips.run("mkfifo", fifo.toString());
    return fifo;
  }

  private interface Feeder {
    void feed(OutputStream fifo) throws Exception;
  }

  private static CompletableFuture<Void> feed(Path fifo, Feeder feeder) {
    return async(
        () -> {
          try (OutputStream out = Files.newOutputStream(fifo)) {
            feeder.feed(out);
          }
          return null;
        });
  }

  private static <T> CompletableFuture<T> async(Callable<T> work) {
    CompletableFuture<T> result = new CompletableFuture<>();
    Thread thread =
        new Thread(
            () -> {
              try {
                result.complete(work.call());
              } catch (Exception e) {
                result.completeExceptionally(e);
              }
            });
    thread.setDaemon(true);
    thread.start();
    return result;
  }

  private static void await(Callable<Boolean> condition) throws Exception {
    for (int i = 0; i < 600 && !condition.call(); i++) Thread.sleep(50);
    assertTrue(condition.call(), "in time");
  }

  private static Captured transcode(Path input, Path out, String... more) {
    String[] fixed = {"transcode", input.toString(), "-o", out.toString(), "--no-contact-sheet"};
    String[] all = Arrays.copyOf(fixed, fixed.length + more.length);
    System.arraycopy(more, 0, all, fixed.length, more.length);
    return Captured.run(all);
  }

  private static List<Long> shown(Path file) throws Exception {
    return Clips.times(file).stream().map(t -> Math.round(Double.parseDouble(t) * 1000)).sorted().toList();
  }

  @ParameterizedTest
  @CsvSource({"ts", "flv", "mkv"})
  void aFifoGivesWhatTheFileGives(String container) throws Exception {
    Path source = clip("whole." + container, 3);
    Path fifo = fifo("feed." + container);
    CompletableFuture<Void> fed = feed(fifo, out -> Files.copy(source, out));
    Captured run = transcode(fifo, folder.resolve("fifo"), "--rendition", "160x90@100k");
    assertEquals(0, run.code(), run.err());
    fed.get();
    Path file = folder.resolve("fifo/feed_160x90.mp4");
    List<Long> before = shown(source);
    List<Long> after = shown(file);
    long moved = after.get(0) - before.get(0);
    assertTrue(after.get(0) < 200, "counts from its own start: " + after.get(0));
    assertEquals(before.size(), after.size());
    for (int i = 0; i < before.size(); i++) assertEquals(before.get(i) + moved, after.get(i), 1, "picture " + i);
    List<Double> beeps = Beeps.in(source, 0).stream().map(t -> t + moved).toList();
    Beeps.assertSame(beeps, Beeps.in(file, 0), container);
    run = transcode(source, folder.resolve("file"), "--rendition", "160x90@100k", "--realtime", "--overwrite");
    assertEquals(0, run.code(), run.err());
    assertArrayEquals(Clips.decode(folder.resolve("file/whole_160x90.mp4")), Clips.decode(file), "as in real time");
    Files.delete(file);
  }

  @Test
  void livePlaylistsCanBePlayedMeanwhileAndKeepTheDiskEmpty() throws Exception {
    byte[] bytes = Files.readAllBytes(clip("long.ts", 20));
    Path out = folder.resolve("window");
    Path stale = Files.writeString(Files.createDirectories(out.resolve("live_160x90")).resolve("segment_00099.ts"), "");
    Path master = Files.writeString(out.resolve("live.m3u8"), "stale");
    Path playlist = out.resolve("live_160x90").resolve(Container.PLAYLIST);
    Path fifo = fifo("live.ts");
    int first = bytes.length * 3 / 4;
    CompletableFuture<Void> fed =
        feed(
            fifo,
            feed -> {
              feed.write(bytes, 0, first);
              await(() -> Files.exists(master) && Files.readString(master).contains("live_160x90/index.m3u8"));
              await(() -> Files.readString(playlist).contains("MEDIA-SEQUENCE:1"));
              String text = Files.readString(playlist);
              assertFalse(text.contains("ENDLIST"), text);
              for (String name : segments(text))
                assertTrue(Files.size(playlist.resolveSibling(name)) > 0, name + " is there\n" + text);
              assertTrue(Files.notExists(stale), "what a former run left goes");
              feed.write(bytes, first, bytes.length - first);
            });
    Captured run =
        transcode(
            fifo, out, "--format", "hls", "--hls-window", "3", "--keyframes", "1", "--rendition", "320x180@300k",
            "--rendition", "160x90@100k,codec=h265");
    fed.get();
    assertEquals(0, run.code(), run.err());
    String text = Files.readString(playlist);
    assertTrue(text.contains("ENDLIST") && text.contains("MEDIA-SEQUENCE:17"), text);
    assertEquals(3, segments(text).size(), text);
    for (Path rendition : List.of(playlist.getParent(), out.resolve("live_320x180"))) {
      assertEquals(75, Clips.times(rendition.resolve(Container.PLAYLIST)).size(), "pictures of the last three seconds");
      assertTrue(Clips.namesIn(rendition).size() <= 2 * 3 + 3, Clips.namesIn(rendition).toString());
    }
    String told = Files.readString(master);
    assertTrue(told.contains("RESOLUTION=320x180") && told.contains("CODECS=\"avc1.") && told.contains("hvc1.1.6.L30.90") && told.contains("mp4a"), told);
    assertEquals(List.of("live.m3u8", "live_160x90", "live_320x180"), Clips.namesIn(out));
  }

  private static List<String> segments(String playlist) {
    return playlist.lines().filter(line -> !line.isEmpty() && !line.startsWith("#")).toList();
  }

  @ParameterizedTest
  @CsvSource({"ts", "flv", "mkv"})
  void aFeedThatBreaksOffKeepsWhatCame(String container) throws Exception {
    byte[] bytes = Files.readAllBytes(clip("torn." + container, 3));
    Path fifo = fifo("cut." + container);
    CompletableFuture<Void> fed = feed(fifo, out -> out.write(bytes, 0, bytes.length * 2 / 3 + 7));
    Captured run = transcode(fifo, folder.resolve("cut"), "--rendition", "160x90@100k");
    fed.get();
    assertEquals(0, run.code(), run.err());
    Path file = folder.resolve("cut/cut_160x90.mp4");
    int count = shown(file).size();
    assertTrue(count >= 40 && count < 75, "pictures: " + count);
    Files.delete(file);
  }

  @Test
  void aFeedThatCannotBeFollowedOnKeepsWhatCame() throws Exception {
    Path whole = clip("fragments.mp4", 3);
    byte[] bytes = Files.readAllBytes(whole);
    // A fragment that claims four thousand million samples.
    int claim = new String(bytes, StandardCharsets.ISO_8859_1).indexOf("trun", bytes.length / 2) + 8;
    Arrays.fill(bytes, claim, claim + 4, (byte) 0xff);
    Path fifo = fifo("claims.mp4");
    CompletableFuture<Void> fed = feed(fifo, out -> out.write(bytes));
    Captured run = transcode(fifo, folder.resolve("claims"), "--rendition", "160x90@100k");
    fed.handle((done, brokenPipe) -> done).get();
    assertEquals(1, run.code());
    assertTrue(run.err().contains("claims.mp4: ") && run.err().contains("the renditions end there"), run.err());
    int count = shown(folder.resolve("claims/claims_160x90.mp4")).size();
    assertTrue(count >= 25 && count < 75, "pictures: " + count);
  }

  @Test
  void whatIsNoStreamIsRefused() throws Exception {
    Path out = folder.resolve("none");
    for (String text : List.of("", "no container at all, only text\n".repeat(4000))) {
      Path fifo = fifo("text" + text.length());
      CompletableFuture<Void> fed = feed(fifo, feed -> feed.write(text.getBytes()));
      Captured run = transcode(fifo, out);
      fed.handle((done, brokenPipe) -> done).get();
      assertEquals(1, run.code(), run.err());
      assertTrue(run.err().lines().count() == 1 && run.err().contains(fifo.getFileName() + ": "), run.err());
    }
    Captured run = Captured.run("soak", fifo("again").toString());
    assertTrue(run.code() != 0 && run.err().contains("again and again"), run.err());
    assertTrue(Files.notExists(out));
  }

  private static boolean hasBytes(Path path) throws IOException {
    return Files.isDirectory(path) ? Files.exists(path.resolve("segment_00000.ts")) : Files.size(path) > 0;
  }

  /** True once bytes of an unfinished file are there. */
  private static boolean isBegun(Path out, String beginning) throws IOException {
    for (String name : Clips.namesIn(out))
      if (name.startsWith(beginning) && name.endsWith(".part") && hasBytes(out.resolve(name))) return true;
    return false;
  }

  /** The whole process with a standard input that stays open, ended by a signal. */
  @ParameterizedTest
  @CsvSource({"INT, 130, true", "TERM, 143, true", "INT, 130, false"})
  void aSignalEndsALiveRunWell(String signal, int code, boolean fed) throws Exception {
    byte[] bytes = Files.readAllBytes(clip("signal.ts", 12));
    Path out = folder.resolve(signal + fed);
    Process process =
        Captured.start(
            folder.resolve("said.txt"), "transcode", "-", "-o", out.toString(), "--rendition", "160x90@100k",
            "--format", "mp4");
    try (OutputStream in = process.getOutputStream()) {
      if (fed) {
        in.write(bytes, 0, bytes.length * 3 / 4);
        in.flush();
        await(() -> isBegun(out, "stdin_160x90.mp4."));
      } else {
        // Past the start of the virtual machine, at the wait for the first byte.
        Thread.sleep(2000);
      }
      Clips.run("kill", "-" + signal, Long.toString(process.pid()));
      assertTrue(process.waitFor(30, TimeUnit.SECONDS), "ends");
    }
    assertEquals(code, process.exitValue());
    if (!fed) {
      assertTrue(Files.notExists(out));
      return;
    }
    assertTrue(Files.readString(folder.resolve("said.txt")).contains("stdin_160x90.mp4"), "the summary is told");
    assertTrue(shown(out.resolve("stdin_160x90.mp4")).size() > 0);
    assertEquals(List.of("stdin_160x90.mp4", "stdin_contact-sheet.png"), Clips.namesIn(out));
  }

  @Test
  void aSignalDropsWhatWasMadeOfAFile() throws Exception {
    Path source = clip("stopped.ts", 60);
    Path out = folder.resolve("stopped");
    Path said = folder.resolve("stopped.txt");
    Process process =
        Captured.start(
            said, "transcode", source.toString(), "-o", out.toString(), "--format", "hls", "--rendition",
            "1280x720@2M,preset=medium");
    process.getOutputStream().close();
    await(() -> isBegun(out, "stopped_1280x720."));
    Clips.run("kill", "-INT", Long.toString(process.pid()));
    assertEquals(130, process.waitFor());
    assertTrue(Files.readString(said).contains("stopped.ts: interrupted"), Files.readString(said));
    assertEquals(List.of(), Clips.namesIn(out));
  }

  @Test
  void aFileAsStandardInputIsReadLikeAFile() throws IOException, InterruptedException {
    // Its index lies at the end, which a pipe could not be read for.
    Path source =
        Clips.make("-f lavfi -i testsrc2=size=320x180:rate=25 -frames:v 10 -c:v libx264", folder.resolve("index.mp4"));
    Path out = folder.resolve("redirected");
    Process process =
        Captured.start(
            source, folder.resolve("redirected.txt"), "transcode", "-", "-o", out.toString(), "--rendition",
            "160x90@100k");
    assertEquals(0, process.waitFor());
    assertEquals(10, Clips.times(out.resolve("stdin_160x90.mp4")).size());
  }
}
