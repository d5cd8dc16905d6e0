package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.AudioRefusedException;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.DeviceEvent;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import java.io.IOException;
import java.util.List;
import java.util.concurrent.locks.LockSupport;
import java.util.function.Consumer;
import java.util.function.Function;

/** Makes one file into renditions: reader, session, writers. */
public final class TranscodeJob implements LadderJob {
  private static final long PAUSE_NS = 100_000_000;

  private final JobSettings settings;
  private final Function<Long, Progress> progressOf;
  private final Interruption interruption;
  private final JobResult result;
  private List<AudioSpec> audioSpecs = List.of();
  private Consumer<SessionCounters> watcher = counters -> {};
  private Progress progress;

  /** `progressOf` makes the progress display for a length in milliseconds, -1 when unknown. */
  public TranscodeJob(JobSettings settings, Function<Long, Progress> progressOf, Interruption interruption) {
    this.settings = settings;
    this.progressOf = progressOf;
    this.interruption = interruption;
    this.result = new JobResult(settings);
  }

  @Override
  public TranscodeJob watchedBy(Consumer<SessionCounters> watcher) {
    this.watcher = watcher;
    return this;
  }

  @Override
  public JobResult result() {
    return result;
  }

  /**
   * Runs to the end, which for live input may be that of its feed or an interruption. When it returns every rendition
   * was written whole; otherwise it throws.
   */
  @Override
  public JobResult run() throws HostException, IOException {
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(settings.source(), interruption)) {
      StreamChoice choice = StreamChoice.of(settings, reader, result);
      audioSpecs = choice.audioSpecs();
      MediaFeed feed = new MediaFeed(reader);
      try (RenditionFiles files = new RenditionFiles(settings, choice.source(), choice.renditions());
          TranscodeSession session = open(reader, feed, files, choice.renditions())) {
        try {
          watcher.accept(session.counters());
          files.open(session.audio(), feed);
          pump(reader, feed, session, files);
          finish(session, files);
        } finally {
          note(session, feed, reader);
        }
        return result;
      }
    }
  }

  private TranscodeSession open(
      MediaReader reader, MediaFeed feed, RenditionFiles files, List<RenditionSpec> renditions)
      throws HostException, IOException {
    SessionSettings.Builder session =
        SessionSettings.of(MediaReader.nameOf(settings.input()))
            .deinterlace(settings.deinterlace())
            .renditions(renditions)
            .overlays(settings.overlays())
            .parallel(settings.parallel())
            .encoderPolicy(settings.encoderPolicy().heardBy(this::noteEncoder))
            .device(settings.device())
            .decoder(settings.decoder())
            .deviceListener(this::noteDevice)
            .keyFrameSeconds(settings.keyFrameSeconds())
            .liveQuality(settings.liveQuality())
            .previewWidth(ContactSheet.CELL_WIDTH);
    if (result.source != null) session.video(reader);
    if (audioSpecs.isEmpty()) return new TranscodeSession(session.build(), files, feed);
    result.audioSource = reader.audio();
    session.audio(new AudioSettings(reader.audio(), settings.conversion(), audioSpecs));
    try {
      return new TranscodeSession(session.build(), files, feed);
    } catch (AudioRefusedException e) {
      if (!settings.audioRenditions().isEmpty() || result.source == null) throw e;
      result.audioSource = null;
      result.leaveOut(reader.audio(), e.getMessage());
      return new TranscodeSession(session.audio(null).build(), files, feed);
    }
  }

  private void pump(MediaReader reader, MediaFeed feed, TranscodeSession session, RenditionFiles files)
      throws HostException, IOException {
    long startNs = System.nanoTime();
    long durationMs = result.source != null ? result.source.durationMs() : reader.audio().durationMs();
    progress = progressOf.apply(durationMs);
    PaceWatch pace = new PaceWatch();
    long firstMs = Long.MIN_VALUE;
    session.counters().begins(durationMs);
    try {
      for (MediaPacket packet = feed.next(); packet != null; packet = feed.next()) {
        if (firstMs == Long.MIN_VALUE) firstMs = packet.timecodeMs();
        if (packet.timecodeMs() - firstMs >= settings.maxMilliseconds()) break;
        if (settings.paced()) waitFor(startNs, packet.timecodeMs() - firstMs);
        if (interruption.requested() && settings.paced()) break;
        if (interruption.requested() && !reader.isLive())
          throw new HostException(settings.source() + ": interrupted, its renditions were dropped");
        MediaPacket following = packet.kind() == MediaKind.AUDIO ? feed.following(MediaKind.AUDIO) : null;
        long beforeNs = System.nanoTime();
        if (packet.kind() == MediaKind.VIDEO) {
          if (!packet.hidden()) files.endsAt(packet.pts() + packet.duration());
          session.push(packet);
        } else if (session.audio() != null) {
          session.audio().push(packet, following);
        }
        result.mediaMs = Math.max(result.mediaMs, packet.timecodeMs() - firstMs + lengthMs(reader, packet));
        session.counters().fed(result.mediaMs);
        String news = reader.isLive() ? pace.worked(System.nanoTime() - beforeNs, result.mediaMs) : null;
        if (news != null) progress.say(settings.source() + ": " + news);
        progress.update(result.mediaMs, session.frames());
      }
      session.drain();
      progress.finish(result.mediaMs, session.frames());
    } finally {
      progress.close();
      result.wallSeconds = (System.nanoTime() - startNs) / 1e9;
      if (reader.isLive()) result.pace = pace;
    }
  }

  // Woken now and then, so that an interruption isn't waited for.
  private void waitFor(long startNs, long mediaMs) {
    while (!interruption.requested()) {
      long aheadNs = mediaMs * 1_000_000 - (System.nanoTime() - startNs);
      if (aheadNs <= 0) return;
      LockSupport.parkNanos(Math.min(aheadNs, PAUSE_NS));
    }
  }

  private void finish(TranscodeSession session, RenditionFiles files) throws HostException, IOException {
    if (result.source != null && session.frames() == 0)
      throw new HostException(settings.source() + ": no picture in it could be decoded");
    if (session.audio() != null && session.audio().frames() == 0)
      throw new HostException(settings.source() + ": no sound in it could be decoded");
    files.finish(session);
    result.contactSheet = files.writeSheet();
    result.firstPacketsMs = files.firstPacketsMs();
    result.finished(files.results(), files.audioResults());
  }

  private void noteEncoder(EncoderEvent event) {
    result.encoderEvents.add(event);
    if (progress == null) progress = progressOf.apply(-1L);
    progress.say(settings.source() + ": " + event);
  }

  private void noteDevice(DeviceEvent event) {
    result.deviceEvents.add(event);
  }

  private void note(TranscodeSession session, MediaFeed feed, MediaReader reader) {
    result.damagedFrames = session.damagedFrames();
    result.damagedAudioPackets = session.audio() == null ? 0 : session.audio().failures();
    result.frames = session.frames();
    result.noteQuality(session.counters());
    for (int i = 0; i < result.specs.size(); i++) result.encoders.add(session.encoder(i));
    result.inputTrouble = feed.trouble();
    result.reconnects = reader.reconnects();
    result.log = session.log().lines();
  }

  private static long lengthMs(MediaReader reader, MediaPacket packet) {
    if (packet.kind() == MediaKind.AUDIO) return reader.audio().timeBase().toMilliseconds(packet.duration());
    return Math.round(1000 / reader.video().frameRateOrDefault());
  }
}
