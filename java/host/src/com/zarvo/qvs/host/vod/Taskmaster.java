package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.Progress;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayDeque;
import java.util.Deque;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;

/**
 * Has all tasks of a manifest done. A task is done when its result is there, whole and made of what the manifest says;
 * one that nobody works at any more and that has none is given out again.
 */
final class Taskmaster {
  private static final int SAVE_INTERVAL_MS = 1000;
  private static final int MOST_FAILURES_KEPT = 10;
  private static final int LATE_LOOKS = 20;

  private final WorkFolder folder;
  private final Manifest manifest;
  private final int tries;
  private final Crew crew;
  private final Interruption interruption;
  private final Deque<Integer> waiting = new ArrayDeque<>();
  private final Set<Integer> working = new LinkedHashSet<>();
  private final VodProgress figures;
  private boolean changed;
  private long savedNs;

  Taskmaster(WorkFolder folder, Manifest manifest, int tries, Crew crew, Interruption interruption) {
    this.folder = folder;
    this.manifest = manifest;
    this.tries = tries;
    this.crew = crew;
    this.interruption = interruption;
    this.figures = new VodProgress(folder, manifest);
  }

  long totalMs() {
    return figures.totalMs();
  }

  /** Returns when all tasks are done. */
  void run(Progress progress) throws HostException, IOException {
    waiting.clear();
    // The sound is one piece and mostly the longest.
    int sound = manifest.plan.sound() ? manifest.tasks.size() - 1 : -1;
    if (sound >= 0 && !manifest.tasks.get(sound).isDone()) waiting.add(sound);
    for (int i = 0; i < manifest.plan.chunks().size(); i++) if (!manifest.tasks.get(i).isDone()) waiting.add(i);
    waiting.removeIf(this::isDoneNow);
    try {
      while (!waiting.isEmpty() || !working.isEmpty()) {
        step(progress);
        pause();
      }
    } finally {
      progress.close();
      folder.save(manifest);
    }
  }

  private void step(Progress progress) throws HostException, IOException {
    if (interruption.requested())
      throw new HostException(folder.root() + ": interrupted; --resume goes on with what is done");
    Set<Integer> results = folder.results();
    working.removeIf(task -> results.contains(task) && isDoneNow(task));
    for (Crew.Ended ended : crew.ended())
      if (working.remove(ended.task()) && !isDoneNow(ended.task())) failed(ended, progress);
    if (!waiting.isEmpty()) give();
    if (changed && System.nanoTime() - savedNs > SAVE_INTERVAL_MS * 1_000_000L) {
      folder.save(manifest);
      changed = false;
      savedNs = System.nanoTime();
    }
    figures.update(progress, working);
  }

  private void give() throws HostException, IOException {
    Set<Integer> before = new LinkedHashSet<>(waiting);
    crew.take(waiting);
    before.removeAll(waiting);
    for (int task : before) {
      manifest.tasks.get(task).tries++;
      working.add(task);
      changed = true;
    }
  }

  /** Takes a result that is there. */
  private boolean isDoneNow(int number) {
    Manifest.Task task = manifest.tasks.get(number);
    TaskResult result = folder.result(number);
    if (!manifest.isMadeBy(result, number)) return false;
    task.sum = result.sum();
    task.result = result;
    changed = true;
    return true;
  }

  private void failed(Crew.Ended ended, Progress progress) throws HostException, IOException {
    if (ended.why().isEmpty() && comesLate(ended.task())) return;
    Manifest.Task task = manifest.tasks.get(ended.task());
    dropParts(ended.task());
    Failure failure = folder.takeFailure(ended.task());
    String why = failure != null ? failure.machine() + ": " + failure.error() : ended.why();
    if (why.isEmpty()) why = folder.result(ended.task()) == null ? "its result is not there" : "its result is another's";
    if (failure != null) crew.failedOn(failure.machine());
    if (task.failures.size() < MOST_FAILURES_KEPT) task.failures.add(why);
    changed = true;
    String name = manifest.plan.nameOf(ended.task());
    if (task.tries >= tries)
      throw new HostException(
          name + " failed " + task.tries + (task.tries == 1 ? " time" : " times") + ", last: " + why
              + "; --resume goes on with what is done");
    progress.say(name + " is tried again: " + why);
    waiting.addFirst(ended.task());
  }

  // A shared folder may show what another machine has written a little later.
  private boolean comesLate(int task) throws HostException {
    for (int i = 0; i < LATE_LOOKS; i++) {
      if (isDoneNow(task)) return true;
      pause();
    }
    return false;
  }

  private void dropParts(int task) throws IOException {
    try (DirectoryStream<Path> parts = Files.newDirectoryStream(folder.tasks(), WorkFolder.stem(task) + ".*.part")) {
      for (Path part : parts) Files.deleteIfExists(part);
    }
  }

  /** Chunks that have to begin with so much in their rate buffers are to be made again. */
  void again(Map<Integer, List<Integer>> bufferPercent) throws IOException {
    for (Map.Entry<Integer, List<Integer>> each : bufferPercent.entrySet()) {
      Manifest.Task task = manifest.tasks.get(each.getKey());
      task.bufferPercent = each.getValue();
      task.redone++;
      undo(each.getKey());
    }
    folder.save(manifest);
  }

  /** The result that has this file is not to be trusted. */
  void forget(Path packets) throws IOException {
    for (int i = 0; i < manifest.tasks.size(); i++) {
      Manifest.Task task = manifest.tasks.get(i);
      if (task.isDone() && folder.packets(i, task.sum).equals(packets)) undo(i);
    }
    Files.deleteIfExists(packets);
    folder.save(manifest);
  }

  private void undo(int number) throws IOException {
    Manifest.Task task = manifest.tasks.get(number);
    task.sum = null;
    task.result = null;
    task.settle();
    folder.dropResult(number);
  }

  private void pause() throws HostException {
    try {
      Thread.sleep(crew.pauseMs());
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
      throw new HostException("interrupted");
    }
  }
}
