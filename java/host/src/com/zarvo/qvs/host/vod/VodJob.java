package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Progress;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.job.StreamChoice;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.VideoCodec;
import java.io.IOException;
import java.nio.channels.FileChannel;
import java.nio.channels.FileLock;
import java.nio.channels.OverlappingFileLockException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.util.Collections;
import java.util.List;
import java.util.Map;
import java.util.concurrent.ThreadLocalRandom;
import java.util.function.Function;

/** Makes a long file into renditions by many workers: plans, has the tasks done, joins. */
public final class VodJob {
  // Each pass mends what the one before left; where encoders do not keep to their buffers it would never end.
  private static final int MOST_PASSES = 4;

  private final VodSettings settings;
  private final JobSettings job;
  private final Function<Long, Progress> progressOf;
  private final Interruption interruption;
  private final WorkFolder folder;
  private final JobResult result;
  private final VodReport report;
  private StreamChoice choice;
  private List<Path> replaceable = List.of();
  private Manifest manifest;
  private Lock lock;

  public VodJob(VodSettings settings, Function<Long, Progress> progressOf, Interruption interruption) {
    this.settings = settings;
    this.job = settings.job();
    this.progressOf = progressOf;
    this.interruption = interruption;
    this.folder = WorkFolder.of(job.directory(), job.input());
    this.result = new JobResult(job);
    this.report = new VodReport(result);
  }

  /** What is known so far, also of work that failed. */
  public VodReport report() {
    return report;
  }

  /** Only plans; what is there then waits for workers. The tasks. */
  public Outline plan() throws HostException, IOException {
    try {
      prepare();
      Path root = folder.root().toAbsolutePath();
      return new Outline(manifest.plan.tasks(), manifest.run, root, Path.of(manifest.input), manifest.workingDirectory);
    } finally {
      unlock();
    }
  }

  /** What workers have to know that somebody else starts. */
  public record Outline(int tasks, String run, Path folder, Path input, String workingDirectory) {}

  private void unlock() throws IOException {
    if (lock != null) lock.close();
    lock = null;
  }

  /** Runs to the end. When it fails all that is done stays in the work folder, for another run to go on with. */
  public void run() throws HostException, IOException {
    long startNs = System.nanoTime();
    try {
      prepare();
      try {
        make();
      } finally {
        tell((System.nanoTime() - startNs) / 1e9);
      }
      if (!settings.keep()) folder.delete();
    } finally {
      unlock();
    }
  }

  private void make() throws HostException, IOException {
    try (Crew crew = crew()) {
      Taskmaster taskmaster = new Taskmaster(folder, manifest, settings.tries(), crew, interruption);
      Progress progress = progressOf.apply(taskmaster.totalMs());
      for (boolean joined = false; !joined; ) {
        taskmaster.run(progress);
        checkBuffers(taskmaster, progress);
        joined = join(taskmaster, progress);
      }
    }
  }

  private void checkBuffers(Taskmaster taskmaster, Progress progress) throws HostException, IOException {
    for (int pass = 0; ; pass++) {
      BufferCheck check = new BufferCheck(manifest, choice.renditions().size());
      Map<Integer, List<Integer>> again = check.run();
      report.buffers(check.toMaps());
      if (check.dryJoins() == 0) return;
      if (again.isEmpty() || pass == MOST_PASSES) {
        progress.say(job.input() + ": a player's rate buffer would run dry at " + check.dryJoins() + " joins");
        return;
      }
      taskmaster.again(again);
      taskmaster.run(progress);
    }
  }

  private boolean join(Taskmaster taskmaster, Progress progress) throws HostException, IOException {
    try {
      Joiner.join(folder, manifest, job, choice, result, replaceable);
      return true;
    } catch (DamagedPacketsException e) {
      progress.say(e.getMessage() + ": made once more");
      taskmaster.forget(e.file());
      return false;
    }
  }

  private Crew crew() throws HostException, IOException {
    if (settings.slurm() != null) return new SlurmCrew(settings, folder, manifest);
    return new LocalCrew(settings.workerCommand(), folder, manifest.workingDirectory, settings.workers());
  }

  private void tell(double seconds) {
    long pictures = 0;
    long damaged = 0;
    long damagedPackets = 0;
    for (Manifest.Task task : manifest.tasks) {
      if (task.result == null) continue;
      pictures += task.result.pictures();
      damaged += task.result.damagedPictures();
      damagedPackets += task.result.damagedAudioPackets();
      if (task.result.leftOut() != null) report.leftOut(task.result.leftOut());
    }
    result.tell(pictures, damaged, damagedPackets, manifest.plan.mediaMs(), seconds);
    result.endedEarly(manifest.plan.trouble());
    report.tasks(manifest, settings.slurm() != null ? "slurm" : "local", choice.source().timeBase());
  }

  /** Looks at the input and at what is there of a former run, and settles what is to be done. */
  private void prepare() throws HostException, IOException {
    NativeLibraries.loadMedia();
    if (MediaReader.isLive(job.input())) throw new HostException(job.input() + ": can be read only once, take transcode");
    boolean old = folder.hasManifest();
    if (settings.resume() && !old) throw new HostException(folder.root() + ": nothing there to go on with");
    if (old && !settings.resume() && !settings.anew())
      throw new HostException(
          folder.root() + ": a run that did not end; --resume goes on with it, --overwrite begins anew");
    try (MediaReader reader = MediaReader.open(job.input(), interruption)) {
      choice = StreamChoice.of(job, reader, result);
      if (choice.source() == null) throw new HostException(job.input() + ": no pictures to cut, take transcode");
      if (choice.codec() == VideoCodec.RAW)
        throw new HostException(
            job.input() + ": no worker decodes " + choice.source().codecName() + ", take transcode");
      try (RenditionFiles names = new RenditionFiles(job, choice.source(), choice.renditions())) {
        replaceable = names.claim(choice.audioSpecs());
      }
      lock = Lock.of(folder);
      if (!settings.resume()) folder.clear();
      manifest = settings.resume() ? resumed() : begun(reader);
      report.note(manifest.plan.note());
    }
  }

  private Manifest begun(MediaReader reader) throws HostException, IOException {
    Manifest made = new Manifest();
    made.run = Long.toHexString(ThreadLocalRandom.current().nextLong());
    made.input = job.input().toAbsolutePath().toString();
    made.inputBytes = Files.size(job.input());
    made.inputChangedMs = Files.getLastModifiedTime(job.input()).toMillis();
    made.workingDirectory = Path.of("").toAbsolutePath().toString();
    made.arguments = settings.arguments();
    made.chunkSeconds = settings.chunkSeconds();
    made.plan = Planner.of(job, reader, choice, settings.chunkSeconds(), interruption);
    for (int i = 0; i < made.plan.tasks(); i++) {
      Manifest.Task task = new Manifest.Task();
      task.bufferPercent = Collections.nCopies(choice.renditions().size(), i == 0 ? 0 : RateBuffer.USUAL_PERCENT);
      made.tasks.add(task);
    }
    folder.save(made);
    return made;
  }

  private Manifest resumed() throws HostException, IOException {
    Manifest found = folder.manifest();
    boolean same =
        found.input.equals(job.input().toAbsolutePath().toString())
            && found.inputBytes == Files.size(job.input())
            && found.inputChangedMs == Files.getLastModifiedTime(job.input()).toMillis();
    if (!same) throw new HostException(job.input() + ": is not the file with which the run began");
    if (!found.arguments.equals(settings.arguments()) || found.chunkSeconds != settings.chunkSeconds())
      throw new HostException(
          folder.root() + ": was begun with other options: --chunk " + found.chunkSeconds + " "
              + String.join(" ", found.arguments));
    for (Manifest.Task task : found.tasks) task.settle();
    return found;
  }

  /** Keeps a second controller out of a work folder. */
  private record Lock(FileChannel channel, FileLock held) implements AutoCloseable {
    static Lock of(WorkFolder folder) throws HostException, IOException {
      folder.create();
      FileChannel channel = FileChannel.open(folder.lock(), StandardOpenOption.CREATE, StandardOpenOption.WRITE);
      FileLock held = null;
      try {
        held = channel.tryLock();
      } catch (OverlappingFileLockException e) {
        held = null;
      } finally {
        if (held == null) channel.close();
      }
      if (held == null) throw new HostException(folder.root() + ": another run is at work there");
      return new Lock(channel, held);
    }

    @Override
    public void close() throws IOException {
      channel.close();
    }
  }
}
