package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.ChaosClips;
import com.zarvo.qvs.host.job.ChaosSoak;
import com.zarvo.qvs.host.job.EndlessSession;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.Progress;
import com.zarvo.qvs.host.job.ResidentMemory;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.concurrent.Callable;
import java.util.function.Supplier;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/**
 * "soak": opens, transcodes two seconds and closes, over and over in one virtual machine, or lets one session take a
 * file round and round as a stream without end. Watches memory and, in the endless stream, the clocks.
 */
@Command(name = "soak", description = "Watches memory and clocks over a long time.", sortOptions = false)
final class SoakCommand implements Callable<Integer> {
  private static final long TAKEN_MS = 2000;
  private static final double MAX_GROWTH = 0.01;
  // A packet more or less may still be with an encoder.
  private static final double MAX_DRIFT_MS = 25;
  private static final double SECONDS_A_MINUTE = 60;
  // What the virtual machine takes while it warms up is no growth.
  private static final double WARM_UP_SHARE = 1.0 / 6;
  private static final double WARM_UP_MINUTES = 5;

  @Parameters(paramLabel = "INPUT", arity = "0..*", description = "The file to read; more, or none, only with --chaos.")
  private List<Path> inputs = List.of();

  @Option(names = "--minutes", defaultValue = "30", description = "How long, 30 minutes by default.")
  private double minutes;

  @Option(names = "-o", defaultValue = "out/soak", paramLabel = "DIR", description = "Where the renditions go.")
  private Path directory;

  @Option(names = "--sound", description = "One session and the file's sound as a stream without end.")
  private boolean audio;

  @Option(
      names = "--feed",
      description = "The same with its pictures too: one session, a ladder of H.264 and AAC.")
  private boolean feed;

  @Option(
      names = "--chaos",
      paramLabel = "SEED",
      description =
          "Sessions drawn from a seed, side by side: sizes, codecs, bit rates, damaged packets. Each has to come to what"
              + " it comes to alone. Without INPUT it makes its clips with ffmpeg.")
  private Long seed;

  @Option(
      names = "--encoder",
      paramLabel = "LIST",
      converter = Converters.OfEncoders.class,
      description = "With --chaos: encoders of its H.264, such as vaapi+software; one that fails is replaced.")
  private EncoderList encoders;

  private Path input;

  @Override
  public Integer call() throws Exception {
    if (seed != null) return chaos();
    if (inputs.size() != 1) throw new HostException("a soak takes one INPUT, or --chaos SEED");
    input = inputs.get(0);
    if (MediaReader.isLive(input)) throw new HostException(input + ": a soak reads its input again and again");
    if (!audio && !feed) return soak(this::takeVideo, () -> "");
    try (EndlessSession session = new EndlessSession(input, feed)) {
      session.pass();
      int verdict = soak(session::pass, () -> String.format(Locale.ROOT, ", %.2f hours", session.hours()));
      return staysInStep(session) ? verdict : 1;
    }
  }

  private int chaos() throws Exception {
    Files.createDirectories(directory);
    List<Path> clips = inputs.isEmpty() ? ChaosClips.make(directory) : inputs;
    ChaosSoak soak = new ChaosSoak(seed, clips, encoders, directory, System.out::println);
    System.out.println("seed " + seed);
    long startNs = System.nanoTime();
    double now;
    do {
      List<String> finds = soak.round();
      now = (System.nanoTime() - startNs) / 1e9 / SECONDS_A_MINUTE;
      System.out.printf(Locale.ROOT, "minute %.1f: %s%n", now, soak.summary());
      finds.forEach(System.out::println);
      if (!finds.isEmpty()) return 1;
    } while (now < minutes);
    return 0;
  }

  private static boolean staysInStep(EndlessSession session) {
    System.out.println(session.contents());
    boolean inStep = session.videoIsRight();
    for (Map.Entry<String, Double> drift : session.drifts().entrySet()) {
      System.out.printf(Locale.ROOT, "drift of %s: %.2f ms%n", drift.getKey(), drift.getValue());
      inStep &= drift.getValue() <= MAX_DRIFT_MS;
    }
    return inStep;
  }

  private interface Turn {
    void run() throws Exception;
  }

  private void takeVideo() throws Exception {
    JobSettings settings = JobSettings.of(input, directory).maxMilliseconds(TAKEN_MS).overwrite(Overwrite.ALWAYS).build();
    new TranscodeJob(settings, total -> new Progress(System.err, false, total), new Interruption()).run();
  }

  private int soak(Turn turn, Supplier<String> news) throws Exception {
    double warmUp = Math.min(WARM_UP_MINUTES, minutes * WARM_UP_SHARE);
    double step = Math.min(1, minutes / 12);
    List<Long> samples = new ArrayList<>();
    long startNs = System.nanoTime();
    long turns = 0;
    double nextSample = step;
    for (double now = 0; now < minutes; now = (System.nanoTime() - startNs) / 1e9 / SECONDS_A_MINUTE) {
      turn.run();
      turns++;
      if (now < nextSample) continue;
      nextSample = now + step;
      long bytes = settledMemory();
      System.out.printf(Locale.ROOT, "minute %.1f: %d turns%s, %.1f MiB%n", now, turns, news.get(), bytes / 1048576.0);
      if (now >= warmUp) samples.add(bytes);
    }
    return verdict(samples);
  }

  private static int verdict(List<Long> samples) {
    if (samples.size() < 2) {
      System.out.println("too short for a verdict");
      return 1;
    }
    long first = samples.get(0);
    long last = samples.get(samples.size() - 1);
    double growth = (double) (last - first) / first;
    System.out.printf(Locale.ROOT, "growth after the warm-up: %.2f %%%n", growth * 100);
    return growth < MAX_GROWTH ? 0 : 1;
  }

  // Garbage of the Java heap comes and goes; only what stays after a collection counts.
  private static long settledMemory() throws IOException {
    System.gc();
    return ResidentMemory.bytes();
  }
}
