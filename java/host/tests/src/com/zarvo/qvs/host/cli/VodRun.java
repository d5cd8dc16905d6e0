package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.support.Clips;
import java.io.IOException;
import java.math.BigInteger;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.stream.Stream;

/** Runs of "vod" over one clip, into a folder each. */
final class VodRun {
  static final String RENDITION = "160x90@200k";
  private static final long PATIENCE_MS = 120_000;
  private static final long PAUSE_MS = 20;

  private final Path clip;
  private final Path out;

  VodRun(Path clip, Path out) {
    this.clip = clip;
    this.out = out;
  }

  /** Sixteen seconds, with keys that stand in no order. */
  static Path clip(Path folder) throws Exception {
    return Clips.make(
        "-f lavfi -i testsrc2=s=160x90:r=25:d=16 -f lavfi -i aevalsrc=0.4*sin(2*PI*(200+40*t)*t):s=44100:d=16"
            + " -c:v libx264 -preset ultrafast -bf 2 -g 35 -c:a aac",
        folder.resolve("long.mp4"));
  }

  String[] words(String... more) {
    List<String> words = new ArrayList<>(List.of("vod", clip.toString(), "-o", out.toString()));
    words.addAll(List.of("--chunk", "5", "--rendition", RENDITION));
    words.addAll(List.of(more));
    return words.toArray(new String[0]);
  }

  Captured run(String... more) {
    return Captured.run(words(more));
  }

  Process start(String... more) throws IOException {
    return startBy(List.of(), more);
  }

  Process startBy(List<String> starter, String... more) throws IOException {
    return Captured.start(starter, log(), words(more));
  }

  Path log() {
    return out.resolveSibling(out.getFileName() + ".log");
  }

  String said() throws IOException {
    return Files.readString(log());
  }

  Path work() {
    return out.resolve("long.vod");
  }

  Path file() {
    return out.resolve("long_" + RENDITION.split("@")[0] + ".mp4");
  }

  /** A sum over what was made. */
  String sums() throws Exception {
    return new BigInteger(1, MessageDigest.getInstance("SHA-256").digest(Files.readAllBytes(file()))).toString(16);
  }

  /** Waits until some task has a file of that ending. */
  void await(String ending) throws Exception {
    await(
        () -> {
          if (!Files.exists(work().resolve("tasks"))) return null;
          try (Stream<Path> files = Files.list(work().resolve("tasks"))) {
            return files.filter(file -> file.toString().endsWith(ending)).findFirst().orElse(null);
          }
        });
  }

  /** Waits for something that is null until it is there. */
  static <T> T await(Callable<T> there) throws Exception {
    for (long end = System.currentTimeMillis() + PATIENCE_MS; System.currentTimeMillis() < end; Thread.sleep(PAUSE_MS)) {
      T found = there.call();
      if (found != null) return found;
    }
    throw new AssertionError("waited in vain");
  }
}
