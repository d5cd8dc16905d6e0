package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.replay.Replay;
import com.zarvo.qvs.host.session.Recording;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.function.Consumer;

/**
 * Sessions drawn from a seed, several at a time in one process. Each is first run alone, which gives its sums; side by
 * side with others, with encoders in parallel, it has to come to the same. What was done side by side is recorded; where
 * no card takes part the recording has to replay to the same answers too. The recording of a find is kept.
 */
public final class ChaosSoak {
  private static final int PLANS_A_ROUND = 4;
  private static final int TURNS_A_ROUND = 2;
  private static final int MEBIBYTES = 256;

  private final List<Path> clips;
  private final EncoderList encoders;
  private final Path directory;
  private final Random seeds;
  private final Consumer<String> lines;
  private long sessions;
  private long replayed;

  /** `encoders` is for renditions of H.264, null for the library's own. */
  public ChaosSoak(long seed, List<Path> clips, EncoderList encoders, Path directory, Consumer<String> lines)
      throws HostException {
    NativeLibraries.loadTranscoder();
    this.clips = clips;
    this.encoders = encoders;
    this.directory = directory;
    this.seeds = new Random(seed);
    this.lines = lines;
  }

  /** One more handful of sessions. Empty when all went as alone, else what did not. */
  public List<String> round() throws HostException, IOException, InterruptedException {
    List<ChaosPlan> plans = new ArrayList<>();
    List<Map<String, String>> expected = new ArrayList<>();
    List<String> finds = new ArrayList<>();
    for (int i = 0; i < PLANS_A_ROUND; i++) {
      ChaosPlan plan = ChaosPlan.of(seeds.nextLong(), clips.size());
      plans.add(plan);
      expected.add(ChaosRun.plain(plan, clips.get(plan.clip()), encoders));
      if (plan.damage().isEmpty() && expected.get(i).containsKey("failure")) finds.add(plan + ": alone " + expected.get(i));
    }
    Path file = directory.resolve("chaos.rec");
    Recording recording = Recording.of(file, MEBIBYTES);
    try {
      List<Map<String, String>> found = sideBySide(plans);
      for (int i = 0; i < found.size(); i++) compare(plans.get(i % PLANS_A_ROUND), expected.get(i % PLANS_A_ROUND), found.get(i), finds);
    } finally {
      recording.close();
    }
    if (finds.isEmpty() && encoders == null) replay(file, finds);
    if (finds.isEmpty()) Files.delete(file);
    else finds.add("recorded in " + file);
    return finds;
  }

  private List<Map<String, String>> sideBySide(List<ChaosPlan> plans) throws HostException, IOException, InterruptedException {
    ExecutorService threads = Executors.newFixedThreadPool(PLANS_A_ROUND);
    try {
      List<Callable<Map<String, String>>> runs = new ArrayList<>();
      for (int turn = 0; turn < TURNS_A_ROUND; turn++)
        for (ChaosPlan plan : plans)
          runs.add(() -> ChaosRun.run(plan, clips.get(plan.clip()), plan.parallel(), encoders));
      List<Map<String, String>> results = new ArrayList<>();
      for (Future<Map<String, String>> run : threads.invokeAll(runs)) results.add(resultOf(run));
      sessions += results.size();
      return results;
    } finally {
      threads.shutdown();
    }
  }

  private static Map<String, String> resultOf(Future<Map<String, String>> run) throws InterruptedException {
    try {
      return run.get();
    } catch (ExecutionException e) {
      return Map.of("failure", String.valueOf(e.getCause()));
    }
  }

  private static void compare(ChaosPlan plan, Map<String, String> expected, Map<String, String> found, List<String> finds) {
    if (!expected.equals(found)) finds.add(plan + ": alone " + expected + ", beside others " + found);
  }

  private void replay(Path file, List<String> finds) throws HostException, IOException {
    Replay.Result result = new Replay(file, false, 1, lines).run();
    replayed += result.compared();
    for (String difference : result.differences()) finds.add("replayed: " + difference);
    if (result.damage() != null) finds.add("replayed: " + result.damage());
  }

  /** What was done so far. */
  public String summary() {
    return sessions + " sessions beside others, " + replayed + " answers replayed";
  }
}
