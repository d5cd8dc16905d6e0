package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.StreamChoice;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.session.AudioOutput;
import com.zarvo.qvs.host.session.AudioPath;
import com.zarvo.qvs.host.session.AudioRefusedException;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.Excerpt;
import com.zarvo.qvs.host.session.SessionLog;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** Does one task of a run, in a process of its own: a chunk of the pictures, or all of the sound. */
public final class VodWorker {
  /** Turns the options of a run into settings. */
  public interface SettingsReader {
    JobSettings read(List<String> arguments, Path input, Path directory) throws HostException;
  }

  private static final long STEP_INTERVAL_NS = 1_000_000_000L;
  private static final int MAX_LOG_LINES = 20;

  private final WorkFolder folder;
  private final int task;
  private final Manifest manifest;
  private final Plan plan;
  private final JobSettings settings;
  private final String machine = machine();
  private final long pid = ProcessHandle.current().pid();
  private final long startNs = System.nanoTime();
  private long toldNs = startNs;

  private VodWorker(WorkFolder folder, int task, SettingsReader reader) throws HostException, IOException {
    this.folder = folder;
    this.task = task;
    this.manifest = folder.manifest();
    this.plan = manifest.plan;
    if (task < 0 || task >= plan.tasks()) throw new HostException(folder.root() + ": has no task " + task);
    this.settings = reader.read(manifest.arguments, Path.of(manifest.input), folder.root().getParent());
  }

  /** Does a task, and leaves its result in the folder, or why there is none. */
  public static void run(WorkFolder folder, int task, SettingsReader reader) throws HostException, IOException {
    try {
      NativeLibraries.loadMedia();
      VodWorker worker = new VodWorker(folder, task, reader);
      if (worker.plan.isSound(task)) worker.makeSound();
      else if (!(worker.plan.seekable() && worker.makeChunk(true)) && !worker.makeChunk(false))
        throw new HostException(worker.settings.input() + ": is not the file of which the plan was made");
    } catch (HostException | IOException | RuntimeException e) {
      tell(folder, task, e);
      throw e;
    }
  }

  // On a full disk this fails as well, and the controller has the process's last line.
  private static void tell(WorkFolder folder, int task, Exception e) {
    try {
      folder.save(task, new Failure(machine(), ProcessHandle.current().pid(), String.valueOf(e.getMessage())));
    } catch (IOException second) {
      System.err.println("qvs: " + second.getMessage());
    }
  }

  private static int restarts() {
    String count = System.getenv("SLURM_RESTART_COUNT");
    return count == null || !count.matches("\\d{1,6}") ? 0 : Integer.parseInt(count);
  }

  private static String machine() {
    String node = System.getenv("SLURMD_NODENAME");
    if (node != null) return node;
    try {
      return Files.readString(Path.of("/proc/sys/kernel/hostname")).strip();
    } catch (IOException e) {
      return "?";
    }
  }

  private Path part() {
    return folder.tasks().resolve(WorkFolder.stem(task) + "." + machine + "-" + pid + ".part");
  }

  private boolean makeChunk(boolean seek) throws HostException, IOException {
    Chunk chunk = plan.chunks().get(task);
    try (ChunkFeed feed = new ChunkFeed(settings, plan, chunk)) {
      if (!feed.find(seek)) return false;
      StreamChoice choice = feed.choice();
      int renditions = choice.renditions().size();
      try (PacketRecorder recorder = new PacketRecorder(part(), choice.source().timeBase(), renditions)) {
        recorder.begin(List.of());
        SessionSettings.Builder session = sessionSettings(choice).video(feed.reader()).excerpt(excerpt(chunk));
        try (TranscodeSession made = new TranscodeSession(session.build(), recorder, null)) {
          List<EncoderBackend> encoders = encoders(made, renditions);
          List<Integer> percent = manifest.tasks.get(task).bufferPercent;
          List<RateBuffer> buffers = new ArrayList<>();
          for (int i = 0; i < renditions; i++)
            buffers.add(RateBuffer.of(choice.renditions().get(i), encoders.get(i), percent.get(i)));
          recorder.measure(buffers);
          long startMs = chunk.number() == 0 ? plan.firstMs() : choice.source().toMilliseconds(chunk.fromPts());
          for (MediaPacket packet = feed.next(); packet != null; packet = feed.next()) {
            made.push(packet);
            step(packet.timecodeMs() - startMs, made.frames());
          }
          made.drain();
          if (!feed.isAsPlanned()) return false;
          finishChunk(made, recorder, buffers, encoders);
        }
      }
    }
    return true;
  }

  private SessionSettings.Builder sessionSettings(StreamChoice choice) {
    return SessionSettings.of(MediaReader.nameOf(settings.input()))
        .deinterlace(settings.deinterlace())
        .renditions(choice.renditions())
        .overlays(settings.overlays())
        .parallel(settings.parallel())
        .encoderPolicy(settings.encoderPolicy())
        .keyFrameSeconds(settings.keyFrameSeconds());
  }

  private Excerpt excerpt(Chunk chunk) {
    List<Integer> percent = manifest.tasks.get(task).bufferPercent;
    return new Excerpt(chunk.fromPts(), chunk.toPts(), plan.firstMs(), chunk.dueMs(), percent);
  }

  private static List<EncoderBackend> encoders(TranscodeSession session, int renditions) {
    List<EncoderBackend> encoders = new ArrayList<>();
    for (int i = 0; i < renditions; i++) encoders.add(session.encoder(i));
    return encoders;
  }

  private void finishChunk(
      TranscodeSession session, PacketRecorder recorder, List<RateBuffer> buffers, List<EncoderBackend> begun)
      throws HostException, IOException {
    List<Long> coded = new ArrayList<>();
    for (int i = 0; i < buffers.size(); i++) {
      coded.add(recorder.pictures(i));
      if (session.encodedFrames(i) != recorder.pictures(i))
        throw new HostException(
            settings.input() + ": " + session.encodedFrames(i) + " pictures went to the encoder and " + coded.get(i)
                + " came back");
    }
    List<EncoderBackend> ended = encoders(session, buffers.size());
    List<RateBuffer.Facts> facts = new ArrayList<>();
    for (int i = 0; i < buffers.size(); i++) {
      boolean known = buffers.get(i) != null && begun.get(i) == ended.get(i) && coded.get(i) > 0;
      facts.add(known ? buffers.get(i).facts() : null);
    }
    List<String> labels = ended.stream().map(encoder -> encoder.label).toList();
    save(recorder, session, new Made(session.frames(), session.damagedFrames(), 0, coded, labels, facts, null));
  }

  /** What differs between the results of tasks. */
  private record Made(
      long pictures, long damagedPictures, long damagedPackets, List<Long> coded, List<String> encoders,
      List<RateBuffer.Facts> buffers, String leftOut) {}

  private void save(PacketRecorder recorder, TranscodeSession session, Made made) throws IOException {
    List<String> trouble =
        session == null
            ? List.of()
            : session.log().lines().stream()
                .filter(SessionLog.Line::isTrouble)
                .map(SessionLog.Line::text)
                .limit(MAX_LOG_LINES)
                .toList();
    String sum = recorder.finish(folder.tasks(), WorkFolder.stem(task));
    double cpuSeconds =
        ProcessHandle.current().info().totalCpuDuration().map(used -> used.toNanos() / 1e9).orElse(0.0);
    folder.save(
        new TaskResult(
            manifest.run, task, manifest.tasks.get(task).bufferPercent, sum, recorder.bytes(), made.pictures, made.damagedPictures,
            made.damagedPackets, made.coded, made.encoders, made.buffers, made.leftOut, machine, pid, restarts(),
            (System.nanoTime() - startNs) / 1e9, cpuSeconds, trouble));
  }

  private void makeSound() throws HostException, IOException {
    try (MediaReader reader = MediaReader.open(settings.input());
        PacketRecorder recorder = new PacketRecorder(part(), reader.video().timeBase(), 0)) {
      JobResult chosen = new JobResult(settings);
      StreamChoice choice = StreamChoice.of(settings, reader, chosen);
      MediaFeed feed = new MediaFeed(reader);
      AudioSettings audio = new AudioSettings(reader.audio(), settings.conversion(), choice.audioSpecs());
      SessionSettings.Builder session = SessionSettings.of(MediaReader.nameOf(settings.input())).audio(audio);
      try (TranscodeSession made = new TranscodeSession(session.build(), recorder, feed)) {
        recorder.begin(starts(made.audio(), feed, reader));
        for (MediaPacket packet = feed.next(); packet != null; packet = feed.next()) {
          if (packet.kind() == MediaKind.VIDEO) continue;
          made.audio().push(packet, feed.following(MediaKind.AUDIO));
          step(packet.timecodeMs() - plan.firstMs(), 0);
        }
        made.drain();
        if (made.audio().frames() == 0)
          throw new HostException(settings.input() + ": no sound in it could be decoded");
        save(recorder, made, new Made(0, 0, made.audio().failures(), List.of(), List.of(), List.of(), null));
      } catch (AudioRefusedException e) {
        // Sound that nobody asked for must not keep the pictures from being made.
        if (!settings.audioRenditions().isEmpty()) throw e;
        recorder.begin(List.of());
        save(recorder, null, new Made(0, 0, 0, List.of(), List.of(), List.of(), e.getMessage()));
      }
    }
  }

  private List<SoundStart> starts(AudioPath audio, MediaFeed feed, MediaReader reader)
      throws HostException, IOException {
    List<SoundStart> starts = new ArrayList<>();
    long origin = feed.peek(MediaKind.AUDIO, 0).pts();
    for (int i = 0; i < audio.renditions(); i++) {
      long audible = AudioOutput.audibleSamples(audio, i, feed, true);
      starts.add(
          new SoundStart(
              audio.rendition(i).spec(), reader.audio().timeBase(), origin, audible, audio.rendition(i).headers()));
    }
    return starts;
  }

  // Nobody needs it but who watches.
  private void step(long doneMs, long pictures) {
    long now = System.nanoTime();
    if (now - toldNs < STEP_INTERVAL_NS) return;
    toldNs = now;
    try {
      folder.save(task, new Step(machine, pid, Math.max(0, doneMs), pictures));
    } catch (IOException e) {
      toldNs = Long.MAX_VALUE;
    }
  }
}
