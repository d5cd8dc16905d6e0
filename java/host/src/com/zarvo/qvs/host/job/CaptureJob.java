package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.CaptureEvent;
import com.zarvo.qvs.host.session.CaptureFeed;
import com.zarvo.qvs.host.session.CaptureSettings;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import java.io.IOException;
import java.util.List;
import java.util.Locale;
import java.util.concurrent.locks.LockSupport;
import java.util.function.Consumer;
import java.util.function.Function;

/** Makes a capture device into renditions, until its time is over or somebody asks for the end. */
public final class CaptureJob implements LadderJob {
  private static final int MAX_CHANNELS = 16;
  private static final int MAX_LEVELS_SHOWN = 8;
  private static final double FULL_SCALE = 32768;
  private static final long PAUSE_NS = 2_000_000;
  private static final long SECOND_NS = 1_000_000_000;

  private final JobSettings settings;
  private final CaptureStage stage;
  private final String mode;
  private final boolean captions;
  private final Progress progress;
  private final Interruption interruption;
  private final JobResult result;
  private Consumer<SessionCounters> watcher = counters -> {};
  private long secondNs = System.nanoTime();

  /** `stage` stays the caller's; `mode` may be null; `progressOf` makes the display for a length in milliseconds, -1 when unknown. */
  public CaptureJob(
      JobSettings settings, CaptureStage stage, String mode, boolean captions, Function<Long, Progress> progressOf,
      Interruption interruption) {
    this.settings = settings;
    this.stage = stage;
    this.mode = mode;
    this.captions = captions;
    this.interruption = interruption;
    this.progress = progressOf.apply(settings.maxMilliseconds() == Long.MAX_VALUE ? -1 : settings.maxMilliseconds());
    this.result = new JobResult(settings);
    result.capture = new CaptureReport(stage.device().name());
  }

  @Override
  public CaptureJob watchedBy(Consumer<SessionCounters> watcher) {
    this.watcher = watcher;
    return this;
  }

  @Override
  public JobResult result() {
    return result;
  }

  @Override
  public JobResult run() throws HostException, IOException {
    stage.start(mode, settings.deinterlace() != Deinterlace.OFF);
    StreamInfo source = stage.device().pictures();
    if (source == null) throw new HostException(stage.device() + ": has no pictures");
    result.source = source;
    result.display = source.display();
    List<RenditionSpec> renditions = RenditionPlan.of(settings, source, false, true);
    result.specs = renditions;
    RenditionPlan.check(settings, renditions);
    AudioSettings sound = sound();
    CaptureFeed feed = new CaptureFeed(sound == null ? null : sound.source());
    try (RenditionFiles files = new RenditionFiles(settings, source, renditions);
        TranscodeSession session = new TranscodeSession(session(source, renditions, sound), files, feed)) {
      try {
        watcher.accept(session.counters());
        files.open(session.audio(), feed);
        pump(session, files, 1000 / source.frameRateOrDefault());
        finish(session, files);
      } finally {
        note(session);
      }
    }
    return result;
  }

  private SessionSettings session(StreamInfo source, List<RenditionSpec> renditions, AudioSettings sound) {
    CaptureSettings capture =
        new CaptureSettings(
            stage.device(), stage.slateFor(source.frameRateOrDefault()), captions, this::noteEvent);
    return SessionSettings.of(settings.input().toString())
        .capture(capture, source)
        .audio(sound)
        .renditions(renditions)
        .overlays(settings.overlays())
        .parallel(settings.parallel())
        .encoderPolicy(settings.encoderPolicy().heardBy(this::noteEncoder))
        .keyFrameSeconds(settings.keyFrameSeconds())
        .liveQuality(settings.liveQuality())
        .previewWidth(ContactSheet.CELL_WIDTH)
        .build();
  }

  /** Null where there is no sound to be made. */
  private AudioSettings sound() throws HostException {
    AudioStreamInfo source = stage.device().sound();
    boolean asked = !settings.audioRenditions().isEmpty();
    if (source == null && asked) throw new HostException(stage.device() + ": has no sound");
    if (source == null) return null;
    String reason =
        source.channels() > MAX_CHANNELS
            ? "it has " + source.channels() + " channels, " + MAX_CHANNELS + " can be taken"
            : !settings.audioAlong() ? "as asked for"
            : !asked && settings.format().usualAudio() == null ? settings.format().label() + " holds no audio" : null;
    if (reason != null) {
      result.leaveOut(source, reason);
      return null;
    }
    result.audioSource = source;
    result.audioDecoder = "session";
    List<AudioSpec> specs =
        asked
            ? settings.audioRenditions()
            : List.of(AudioSpec.parse(settings.format().usualAudio().codecName));
    return new AudioSettings(source, settings.conversion(), specs);
  }

  private void pump(TranscodeSession session, RenditionFiles files, double periodMs) throws HostException, IOException {
    long startNs = System.nanoTime();
    PaceWatch pace = new PaceWatch();
    session.counters().begins(-1);
    try {
      while (!interruption.requested() && result.mediaMs + periodMs / 2 < settings.maxMilliseconds()) {
        long beforeNs = System.nanoTime();
        if (session.capture()) {
          result.mediaMs = Math.round(session.captureReachedMs() + periodMs);
          files.endsAt(result.mediaMs);
          session.counters().fed(result.mediaMs);
          String news = pace.worked(System.nanoTime() - beforeNs, result.mediaMs);
          if (news != null) progress.say(settings.input() + ": " + news);
          progress.update(result.mediaMs, session.frames());
        } else {
          LockSupport.parkNanos(PAUSE_NS);
        }
        if (beforeNs - secondNs >= SECOND_NS) everySecond(session, beforeNs);
      }
      session.drain();
      progress.finish(result.mediaMs, session.frames());
    } finally {
      progress.close();
      result.wallSeconds = (System.nanoTime() - startNs) / 1e9;
      result.pace = pace;
    }
  }

  // Drops are asked for no more often than this, so that a slow machine isn't told of each.
  private void everySecond(TranscodeSession session, long nowNs) {
    secondNs = nowNs;
    result.capture.figures = session.captureFigures();
    int[] peaks = stage.device().peaks();
    double[] decibels = new double[peaks.length];
    StringBuilder text = new StringBuilder();
    for (int i = 0; i < peaks.length; i++) {
      decibels[i] = 20 * Math.log10(Math.max(1, peaks[i]) / FULL_SCALE);
      if (i < MAX_LEVELS_SHOWN) text.append(String.format(Locale.ROOT, " %.0f", decibels[i]));
    }
    session.counters().levels(decibels);
    progress.also(peaks.length == 0 ? "" : "peaks" + text + " dB");
  }

  private void finish(TranscodeSession session, RenditionFiles files) throws HostException, IOException {
    if (session.frames() == 0) throw new HostException(settings.input() + ": ended before its first picture");
    files.finish(session);
    result.contactSheet = files.writeSheet();
    result.firstPacketsMs = files.firstPacketsMs();
    result.renditions = files.results();
    result.audioRenditions = files.audioResults();
  }

  private void noteEvent(CaptureEvent event) {
    result.capture.add(event);
    progress.say(settings.input() + ": " + event);
  }

  private void noteEncoder(EncoderEvent event) {
    result.encoderEvents.add(event);
    progress.say(settings.input() + ": " + event);
  }

  private void note(TranscodeSession session) {
    result.capture.figures = session.captureFigures();
    result.frames = session.frames();
    result.noteQuality(session.counters());
    for (int i = 0; i < result.specs.size(); i++) result.encoders.add(session.encoder(i));
    result.log = session.log().lines();
  }
}
