package com.zarvo.qvs.api;

import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.EncoderPolicy;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.VideoSource;
import java.io.IOException;
import java.lang.ref.Reference;
import java.nio.ByteBuffer;
import java.time.Duration;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.List;
import java.util.Queue;
import java.util.concurrent.locks.ReentrantLock;
import java.util.function.Consumer;

/**
 * Turns one stream into several: packets go in, packets of every rung come out. Any thread may call; calls wait for each
 * other, {@link #close} too. A listener that calls back is refused what would not end ({@link #push}, {@link #finish});
 * the rest it asks for is done when the call that it is in ends.
 */
public final class Ladder implements AutoCloseable {
  /** Overlays that a ladder can have at a time. */
  public static final int OVERLAYS = 64;

  private final String name;
  private final StreamInfo source;
  private final int rungs;
  private final LadderEngine engine;
  private final PacketListener listener;
  private final Consumer<LadderEvent> events;
  private final Custody custody;
  private final ReentrantLock lock = new ReentrantLock();
  private final Queue<Step> afterwards = new ArrayDeque<>();
  private IOException broken;
  private boolean finished;
  private boolean closed;
  private boolean closing;

  private interface Step {
    void run() throws HostException, IOException;
  }

  private Ladder(Builder from, StreamInfo source, LadderEngine engine) {
    this.name = from.name;
    this.source = source;
    this.rungs = from.rungs.size();
    this.engine = engine;
    this.listener = from.listener;
    this.events = from.events;
    this.custody = Custody.of(this, "the ladder " + name, engine::close);
  }

  /** A ladder of a media file, whose packets it is to be given. */
  public static Builder of(MediaSource source) {
    return new Builder(MediaReader.nameOf(source.reader().path()), source, null);
  }

  /** A ladder of pictures that the program brings; `name` stands in the log. */
  public static Builder of(String name, SourceFormat format) {
    return new Builder(name, null, format);
  }

  /** Takes one packet all the way. A damaged one costs its own picture or sound only, and is counted. */
  public void push(SourcePacket packet) throws IOException {
    call("push", () -> engine.push(packet.packet(), packet.following()));
  }

  /** A coded picture that is shown at `time`, in the unit of the format; `key` where decoding can start. */
  public void push(byte[] picture, long time, boolean key) throws IOException {
    byte[] data = picture.clone();
    long ms = source.timeBase().toMilliseconds(time);
    push(new SourcePacket(new MediaPacket(MediaKind.VIDEO, data, time, ms, 0, 0, 0, key), null));
  }

  /** The same of the buffer's remaining bytes, which are taken. */
  public void push(ByteBuffer picture, long time, boolean key) throws IOException {
    byte[] data = new byte[picture.remaining()];
    picture.get(data);
    long ms = source.timeBase().toMilliseconds(time);
    push(new SourcePacket(new MediaPacket(MediaKind.VIDEO, data, time, ms, 0, 0, 0, key), null));
  }

  /** Ends the stream: hands out all that is still inside, and completes files. */
  public void finish() throws IOException {
    call(
        "finish",
        () -> {
          finished = true;
          engine.finish();
        });
  }

  /** Bits a second of a rung from the next picture on. */
  public void updateBitRate(int rung, long bitsPerSecond) throws IOException {
    checkRung(rung);
    if (bitsPerSecond <= 0) throw new IllegalArgumentException("bit rate " + bitsPerSecond + " is not above 0");
    callOrLater("updateBitRate", () -> engine.session().updateBitRate(rung, bitsPerSecond));
  }

  /** Draws an overlay on the pictures that follow, in place of what `slot` had. */
  public void setOverlay(int slot, Overlay overlay) throws IOException {
    checkSlot(slot);
    OverlaySpec spec = overlay.spec();
    if (spec.rendition() != OverlaySpec.ON_DECODER) checkRung(spec.rendition());
    callOrLater("setOverlay", () -> engine.session().setOverlay(slot, spec, overlay.picture()));
  }

  /** Takes an overlay away. */
  public void removeOverlay(int slot) throws IOException {
    checkSlot(slot);
    callOrLater("removeOverlay", () -> engine.session().removeOverlay(slot));
  }

  /** What it has done so far, also after its end. Does not wait for a call that is at work. */
  public LadderStatistics statistics() {
    return LadderStatistics.of(engine.session().counters());
  }

  private void checkRung(int rung) {
    if (rung < 0 || rung >= rungs)
      throw new IllegalArgumentException("rung " + rung + ": there are only rungs 0 to " + (rungs - 1));
  }

  private static void checkSlot(int slot) {
    if (slot < 0 || slot >= OVERLAYS)
      throw new IllegalArgumentException("overlay " + slot + ": there are only slots 0 to " + (OVERLAYS - 1));
  }

  private void callOrLater(String what, Step step) throws IOException {
    if (lock.isHeldByCurrentThread()) afterwards.add(step);
    else call(what, step);
  }

  private void call(String what, Step step) throws IOException {
    if (lock.isHeldByCurrentThread())
      throw new IllegalStateException(what + " was called by a listener of the ladder " + name + " from within a call");
    lock.lock();
    try {
      checkUsable(what);
      work(step);
    } finally {
      if (closing) closeNow();
      lock.unlock();
      // Until here no cleaner may come.
      Reference.reachabilityFence(this);
    }
  }

  private void checkUsable(String what) throws IOException {
    String head = what + " on the ladder " + name + ", which ";
    if (closed) throw new IllegalStateException(head + "is closed");
    if (broken != null) throw new IllegalStateException(head + "failed before: " + broken.getMessage(), broken);
    if (finished) throw new IllegalStateException(head + "is finished");
  }

  private void work(Step step) throws IOException {
    engine.attach(listener, events);
    boolean done = false;
    try {
      step.run();
      for (Step next = afterwards.poll(); next != null && !closing; next = afterwards.poll()) next.run();
      done = true;
    } catch (HostException e) {
      broken = new TranscodeException(e);
      throw broken;
    } catch (IOException e) {
      broken = e;
      throw e;
    } finally {
      if (!done && broken == null) broken = new TranscodeException("a listener or the ladder itself threw");
      engine.detach();
    }
  }

  private void closeNow() {
    if (!closed) custody.close();
    closed = true;
  }

  /** Waits for a call that is at work and frees all; files that were not finished are dropped. Harmless a second time. */
  @Override
  public void close() {
    if (lock.isHeldByCurrentThread()) {
      closing = true;
      return;
    }
    lock.lock();
    try {
      closeNow();
    } finally {
      lock.unlock();
    }
  }

  /** Says what a ladder is to be. Used once. */
  public static final class Builder {
    private final String name;
    private final MediaSource media;
    private final SourceFormat format;
    private final List<Rung> rungs = new ArrayList<>();
    private final List<Sound> sounds = new ArrayList<>();
    private EncoderList encoders = EncoderList.SOFTWARE;
    private Duration deadline = Duration.ofSeconds(2);
    private double keyFrameSeconds = 2;
    private MediaFiles files;
    private PacketListener listener;
    private Consumer<LadderEvent> events;

    private Builder(String name, MediaSource media, SourceFormat format) {
      this.name = name;
      this.media = media;
      this.format = format;
    }

    /** One more; packets tell their rung by its place. */
    public Builder rung(Rung rung) {
      rungs.add(rung);
      return this;
    }

    /** A rendition of the source's sound; without any, sound is left out. */
    public Builder sound(Sound sound) {
      sounds.add(sound);
      return this;
    }

    /** For rungs that name none: the first that can be had is taken, and one that fails is replaced by the next. */
    public Builder encoders(Encoder... wanted) {
      encoders = Encoder.listOf(wanted);
      return this;
    }

    /** How long a call into a card may take before the next encoder of the list takes over. */
    public Builder deadline(Duration longest) {
      if (longest.toMillis() < 1) throw new IllegalArgumentException("a deadline is a millisecond at least");
      deadline = longest;
      return this;
    }

    /** Longest time from key picture to key picture, and so the length of segments. */
    public Builder keyFrameSeconds(double seconds) {
      if (!(seconds > 0 && seconds <= 3600))
        throw new IllegalArgumentException("key pictures every " + seconds + " seconds are outside 0 to 3600");
      keyFrameSeconds = seconds;
      return this;
    }

    public Builder files(MediaFiles wanted) {
      files = wanted;
      return this;
    }

    public Builder onPacket(PacketListener wanted) {
      listener = wanted;
      return this;
    }

    /** Is told on the ladder's thread what befalls encoders and devices. */
    public Builder onEvent(Consumer<LadderEvent> wanted) {
      events = wanted;
      return this;
    }

    /** The ladder, ready for its first packet. */
    public Ladder open() throws IOException {
      try {
        if (rungs.isEmpty()) throw new IllegalArgumentException("a ladder needs a rung at least");
        if (!sounds.isEmpty() && media == null)
          throw new IllegalArgumentException("sound is taken of media sources only");
        return build();
      } catch (HostException e) {
        throw new TranscodeException(e);
      }
    }

    private Ladder build() throws HostException, IOException {
      StreamInfo coded = media == null ? format.info() : media.reader().video();
      VideoCodec codec =
          media == null ? format.codec().own : VideoSource.codecOf(media.reader().path(), coded);
      StreamInfo source = coded.upright();
      List<RenditionSpec> specs = rungs.stream().map(rung -> settled(rung, source)).toList();
      checkFiles(specs);
      FileSink sink = files == null ? null : new FileSink(files, name, source, specs, keyFrameSeconds);
      LadderEngine engine = new LadderEngine(source, specs, sink);
      EncoderPolicy policy =
          EncoderPolicy.of(encoders).deadlineMs(deadline.toMillis()).listener(engine::event).build();
      String context = name;
      SessionSettings.Builder settings =
          SessionSettings.of(name)
              .video(codec, coded, media == null ? format.config() : media.reader().videoConfig())
              .renditions(specs)
              .parallel(true)
              .deinterlace(Deinterlace.ON)
              .keyFrameSeconds(keyFrameSeconds)
              .encoderPolicy(policy)
              .deviceListener(engine::event)
              .logListener(line -> LogSinks.log(context, line));
      if (media != null) chooseSound(settings);
      engine.attach(listener, events);
      engine.open(settings.build(), media == null ? null : media.feed());
      engine.detach();
      return new Ladder(this, source, engine);
    }

    private RenditionSpec settled(Rung rung, StreamInfo source) {
      VideoCodec usual = files == null ? VideoCodec.H264 : files.container().usualVideo();
      RenditionSpec spec = rung.spec().settled(usual, 0, null);
      return spec.fittedTo(source.displayAspect(spec.crop()));
    }

    private void checkFiles(List<RenditionSpec> specs) {
      for (RenditionSpec spec : specs)
        if (files != null && !files.container().holds(spec.codec()))
          throw new IllegalArgumentException(files.container().label() + " cannot hold " + spec.codec().codecName);
      for (Sound sound : sounds)
        if (files != null && !files.container().holds(sound.spec().codec()))
          throw new IllegalArgumentException(
              files.container().label() + " cannot hold " + sound.spec().codec().codecName);
    }

    private void chooseSound(SessionSettings.Builder settings) throws HostException {
      if (sounds.isEmpty()) {
        media.reader().ignore(MediaKind.AUDIO);
        return;
      }
      if (!media.hasSound()) throw new HostException(name + ": no audio stream in it");
      settings.audio(
          new AudioSettings(
              media.reader().audio(), AudioConversion.NONE, sounds.stream().map(Sound::spec).toList()));
    }
  }
}
