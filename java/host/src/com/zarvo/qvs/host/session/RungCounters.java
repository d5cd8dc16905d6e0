package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.RenditionSpec;

/** What one rendition of pictures has done so far. Any thread may read; the session's thread writes. */
public final class RungCounters {
  private final String label;
  private final RenditionSpec spec;
  private final StageTimes scaling = new StageTimes();
  private final StageTimes encoding = new StageTimes();
  private final Counter taken = new Counter();
  private final Counter dropped = new Counter();
  private final Counter packets = new Counter();
  private final Counter bytes = new Counter();
  private final Counter lastMs = new Counter();
  private final Counter replacements = new Counter();
  private final FrameEvent frame = new FrameEvent();
  private volatile QualityFigures quality;
  private long encodeNs;

  /** `label` tells it from the others of its session. */
  RungCounters(String label, RenditionSpec spec, boolean measured) {
    this.label = label;
    this.spec = spec;
    this.quality = measured ? QualityFigures.NONE : null;
    frame.rung = label;
    lastMs.set(Long.MIN_VALUE);
  }

  /** Its size, with a number behind where several have that size. */
  public String label() {
    return label;
  }

  public RenditionSpec spec() {
    return spec;
  }

  /** Calls that scale a picture. */
  public StageTimes scaling() {
    return scaling;
  }

  /**
   * What a picture costs the session's thread at its encoder: to hand it over, and to fetch what is ready. Encoders that
   * work side by side take no more of that thread until they fall behind.
   */
  public StageTimes encoding() {
    return encoding;
  }

  /** Pictures that went to the encoder. */
  public long picturesIn() {
    return taken.get();
  }

  /** Coded pictures that came out. */
  public long pictures() {
    return packets.get();
  }

  /** Pictures that the rendition's own frame rate leaves out. */
  public long droppedPictures() {
    return dropped.get();
  }

  /** Pictures that the encoder has and hasn't answered yet. */
  public long queueDepth() {
    return Math.max(0, taken.get() - packets.get());
  }

  public long bytes() {
    return bytes.get();
  }

  /** Encoders that took another's place on the way. */
  public long replacements() {
    return replacements.get();
  }

  /** The latest time of a coded picture, in milliseconds of the input's clock; Long.MIN_VALUE before the first. */
  public long lastMs() {
    return lastMs.get();
  }

  /** How what comes out compares with what went in; null where nobody measures it. */
  public QualityFigures quality() {
    return quality;
  }

  // One thread at a time measures, and the session's own tells what it could not have measured.
  synchronized void measured(double squaredError, double similarity, long timeMs) {
    quality = quality.with(squaredError, similarity, timeMs);
  }

  synchronized void notMeasured(String why) {
    quality = quality.without(why);
  }

  void scaled(long ns) {
    scaling.add(ns);
  }

  void leftOut() {
    dropped.add(1);
  }

  /** A call into the encoder took that long; it counts with the picture that is handed over next. */
  void inEncoder(long ns) {
    encodeNs += ns;
  }

  /** A picture is with the encoder. */
  void handedOver(long timeMs) {
    taken.add(1);
    encoding.add(encodeNs);
    if (frame.isEnabled()) frame.tell(timeMs, encodeNs);
    encodeNs = 0;
  }

  void packet(long length, long timeMs) {
    packets.add(1);
    bytes.add(length);
    lastMs.raise(timeMs);
  }

  /** Another encoder's first packet has come. */
  void replaced(EncoderEvent applied) {
    replacements.add(1);
    ReplacementEvent event = new ReplacementEvent();
    if (!event.isEnabled()) return;
    event.rung = label;
    event.timeMs = applied.milliseconds();
    event.from = String.valueOf(applied.from());
    event.to = String.valueOf(applied.to());
    event.why = applied.why();
    event.picturesAgain = applied.picturesAgain();
    event.gapMs = applied.gapMs();
    event.commit();
  }
}
