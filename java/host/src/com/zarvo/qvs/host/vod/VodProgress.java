package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.Progress;
import java.util.Collection;
import java.util.Locale;
import java.util.Set;
import java.util.TreeSet;

/** How far a run is, over all its workers, and how long it will take. A task counts by the time of input that it takes. */
final class VodProgress {
  private static final long LOOK_INTERVAL_NS = 1_000_000_000L;
  // Steps of more workers than these are not looked at one by one.
  private static final int MOST_LOOKED_AT = 64;
  private static final int MOST_NAMED = 4;

  private final WorkFolder folder;
  private final Manifest manifest;
  private final long startNs = System.nanoTime();
  private long firstDoneMs = -1;
  private long lookedNs;

  VodProgress(WorkFolder folder, Manifest manifest) {
    this.folder = folder;
    this.manifest = manifest;
  }

  /** Of the pictures; sound is cheap beside them. */
  long totalMs() {
    long total = 0;
    for (Chunk chunk : manifest.plan.chunks()) total += lengthMs(chunk);
    return total;
  }

  // By its share of the pictures: a chunk's own times are in units that only the input knows.
  private long lengthMs(Chunk chunk) {
    long all = Math.max(1, manifest.plan.chunks().stream().mapToLong(Chunk::pictures).sum());
    return manifest.plan.mediaMs() * chunk.pictures() / all;
  }

  /** Looks at the tasks now and then, and shows what it finds. */
  void update(Progress progress, Collection<Integer> working) {
    long now = System.nanoTime();
    if (now - lookedNs < LOOK_INTERVAL_NS) return;
    lookedNs = now;
    long done = 0;
    int finished = 0;
    for (Chunk chunk : manifest.plan.chunks()) {
      if (!manifest.tasks.get(chunk.number()).isDone()) continue;
      done += lengthMs(chunk);
      finished++;
    }
    if (firstDoneMs < 0) firstDoneMs = done;
    Set<String> machines = new TreeSet<>();
    int running = 0;
    int looked = 0;
    for (int task : working) {
      if (looked++ == MOST_LOOKED_AT) break;
      Step step = folder.step(task);
      if (step == null) continue;
      machines.add(step.machine());
      running++;
      if (!manifest.plan.isSound(task)) done += Math.min(step.doneMs(), lengthMs(manifest.plan.chunks().get(task)));
    }
    progress.update(done, text(done, finished, Math.max(running, working.size()), machines, (now - startNs) / 1e9));
  }

  private String text(long doneMs, int finished, int working, Set<String> machines, double seconds) {
    double speed = (doneMs - firstDoneMs) / 1000.0 / Math.max(1e-3, seconds);
    String where = machines.isEmpty() ? "" : " (" + named(machines) + ")";
    String left = speed > 0 ? ", " + time((totalMs() - doneMs) / 1000.0 / speed) + " left" : "";
    return String.format(
        Locale.ROOT, "%d of %d chunks, %d at work%s, %.1fx%s", finished, manifest.plan.chunks().size(), working, where,
        speed, left);
  }

  private static String named(Set<String> machines) {
    String some = String.join(", ", machines.stream().limit(MOST_NAMED).toList());
    return machines.size() > MOST_NAMED ? some + " and " + (machines.size() - MOST_NAMED) + " more" : some;
  }

  private static String time(double seconds) {
    long whole = Math.max(0, Math.round(seconds));
    return whole >= 3600
        ? String.format(Locale.ROOT, "%d:%02d:%02d", whole / 3600, whole / 60 % 60, whole % 60)
        : String.format(Locale.ROOT, "%d:%02d", whole / 60, whole % 60);
  }
}
