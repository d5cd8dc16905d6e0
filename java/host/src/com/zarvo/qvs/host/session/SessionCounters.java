package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.OptionalLong;
import java.util.Set;
import java.util.concurrent.atomic.AtomicLong;

/**
 * What a session has done so far, for those who watch it: any thread may read at any time, also after the end. The
 * thread that pushes packets writes, without locks and without allocating; numbers read together may be a picture apart.
 */
public final class SessionCounters {
  private static final AtomicLong SESSIONS = new AtomicLong();

  private final long id = SESSIONS.incrementAndGet();
  private final String name;
  private final List<RungCounters> rungs = new ArrayList<>();
  private final List<SoundCounters> sounds = new ArrayList<>();
  private final StageTimes decoding = new StageTimes();
  private final Counter pictures = new Counter();
  private final Counter damagedPictures = new Counter();
  private final Counter damagedAudioPackets = new Counter();
  private final Counter soundOriginMs = new Counter();
  private final Counter mediaMs = new Counter();
  private final Counter totalMs = new Counter();
  private final Counter startNs = new Counter();
  private final Counter endNs = new Counter();
  private volatile double[] levels = {};

  SessionCounters(SessionSettings settings) {
    this.name = settings.name();
    startNs.set(System.nanoTime());
    totalMs.set(-1);
    Set<String> labels = new HashSet<>();
    for (RenditionSpec spec : settings.renditions()) {
      String label = spec.sizeText();
      for (int i = 2; !labels.add(label); i++) label = spec.sizeText() + "#" + i;
      rungs.add(new RungCounters(label, spec, settings.liveQuality() != null));
    }
    if (settings.audio() == null) return;
    for (AudioSpec spec : settings.audio().renditions()) sounds.add(new SoundCounters(spec));
  }

  /** Counts sessions of the process, from 1. */
  public long id() {
    return id;
  }

  /** The stream's name. */
  public String name() {
    return name;
  }

  /** In the order of the settings. */
  public List<RungCounters> rungs() {
    return rungs;
  }

  /** In the order of the settings. */
  public List<SoundCounters> sounds() {
    return sounds;
  }

  /** What a coded picture takes in the decoder's calls. */
  public StageTimes decoding() {
    return decoding;
  }

  /** Pictures decoded. */
  public long pictures() {
    return pictures.get();
  }

  /** Refused, mended or left out by the decoder. */
  public long damagedPictures() {
    return damagedPictures.get();
  }

  /** Packets of sound that could not be decoded. */
  public long damagedAudioPackets() {
    return damagedAudioPackets.get();
  }

  /** Milliseconds of input that were taken, as whoever feeds the session tells. */
  public long mediaMs() {
    return mediaMs.get();
  }

  /** How long the input is, -1 where nobody knows. */
  public long totalMs() {
    return totalMs.get();
  }

  /** Seconds since the work began, until the session was closed. */
  public double wallSeconds() {
    long end = endNs.get();
    return ((end == 0 ? System.nanoTime() : end) - startNs.get()) / 1e9;
  }

  /** Seconds of input per second of work. */
  public double speed() {
    return mediaMs() / 1000.0 / Math.max(1e-3, wallSeconds());
  }

  /** By how many milliseconds the last coded sound lies behind the last coded picture; empty without either. */
  public OptionalLong avOffsetMs() {
    long picture = rungs.isEmpty() ? Long.MIN_VALUE : rungs.get(0).lastMs();
    long sound = sounds.isEmpty() ? Long.MIN_VALUE : sounds.get(0).lastMs();
    if (picture == Long.MIN_VALUE || sound == Long.MIN_VALUE) return OptionalLong.empty();
    return OptionalLong.of(sound + soundOriginMs.get() - picture);
  }

  /** For the thread that feeds the session: the work begins now, on so much input (-1 when unknown). */
  public void begins(long ofMs) {
    startNs.set(System.nanoTime());
    totalMs.set(ofMs);
  }

  /** For the thread that feeds the session: how far it is with the input. */
  public void fed(long doneMs) {
    mediaMs.set(doneMs);
  }

  /** For the thread that feeds the session: the peaks of the sound's channels in the last moment, in dB of full scale. */
  public void levels(double[] decibels) {
    levels = decibels;
  }

  /** The same for those who watch; empty where nobody tells. */
  public double[] levels() {
    return levels;
  }

  void decoded(long ns) {
    decoding.add(ns);
  }

  void pictures(long decoded) {
    pictures.set(decoded);
  }

  void damaged(long sofar) {
    damagedPictures.set(sofar);
  }

  void damagedAudio(long sofar) {
    damagedAudioPackets.set(sofar);
  }

  /** Where the native side's sound clock begins on the input's. */
  void soundStartsAt(long ms) {
    soundOriginMs.set(ms);
  }

  /** Flight recordings get the state of the encoders, where they ask for it. */
  void summarize() {
    for (RungCounters rung : rungs) EncodeEvent.tell(id, rung);
  }

  void ended() {
    if (endNs.get() != 0) return;
    endNs.set(System.nanoTime());
    summarize();
    SessionEvent event = new SessionEvent();
    if (!event.isEnabled()) return;
    event.session = id;
    event.name = name;
    event.pictures = pictures();
    event.damagedPictures = damagedPictures();
    event.damagedAudioPackets = damagedAudioPackets();
    event.seconds = mediaMs() / 1000.0;
    event.wallSeconds = wallSeconds();
    event.commit();
  }
}
