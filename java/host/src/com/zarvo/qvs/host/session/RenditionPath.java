package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;

/** One rendition within a session: its encoder, its pool of pictures and what becomes of the current picture. */
public final class RenditionPath {
  public static final long FRAME_KEY = 1;
  static final long FRAME_INTER = 2;
  static final long FRAME_DISPOSABLE = 3;

  private final NativeSession owner;
  private final SessionSettings settings;
  private final TimecodeMap times;
  private final RenditionSpec spec;
  private final int index;
  private final FrameRateLimiter limiter;
  private final RungCounters counters;
  private final EncoderSlot slot;
  private final RungQuality quality;
  private final TranscoderNativeVideoFrame preview = new TranscoderNativeVideoFrame();
  private long target = -1;
  private long previewTarget = -1;
  private boolean skipped;
  private boolean again;
  private long keptTime = Long.MIN_VALUE;
  private long doneTo = Long.MIN_VALUE;
  private long firstPts = Long.MIN_VALUE;
  private boolean keyIsDue;
  private long keys;
  private long added;

  /** Makes encoder and pool of rendition `index`, which becomes the number of both; `quality` is null where it isn't measured. */
  RenditionPath(
      NativeSession owner, SessionSettings settings, int index, TimecodeMap times, RungQuality quality)
      throws HostException {
    this.quality = quality;
    this.owner = owner;
    this.settings = settings;
    this.times = times;
    this.index = index;
    this.spec = settings.renditions().get(index);
    Excerpt excerpt = settings.excerpt();
    this.limiter = new FrameRateLimiter(spec.frameRate(), excerpt == null ? Double.NaN : excerpt.dueMs().get(index));
    this.counters = owner.counters().rungs().get(index);
    this.slot = new EncoderSlot(owner, settings, index, this::passOn);
  }

  /** What encodes it at this time. */
  EncoderBackend encoder() {
    return slot.encoder();
  }

  /** Pictures that went to the encoder so far. */
  long added() {
    return added;
  }

  void setOverlay(int slot, OverlaySpec overlay, OverlayImage image) throws HostException {
    TranscoderNativeVideoFrame frame = image.placed(overlay, spec.width(), spec.height(), owner.device());
    String what = overlay.image() + ": refused as an overlay";
    owner.check(videoEncoderBufferSetOverlayVideoFrame(owner.handle(), index, slot, frame), what);
  }

  /** Takes a free picture of the pool. Returns its number, or -1 when this time is left out. */
  long takeTarget(long time) throws HostException, IOException {
    again = slot.owes(time);
    skipped = !again && time <= doneTo;
    if (skipped) return -1;
    takeAnyTarget();
    skipped = !again && time != keptTime && !limiter.keep(time);
    if (!skipped) keptTime = time;
    return skipped ? -1 : target;
  }

  /** Takes a free picture for what a scaler has ready next, whichever that is; its number. */
  long takeAnyTarget() throws HostException, IOException {
    target = videoEncoderBufferAllocate(owner.handle(), index);
    if (target < 0) {
      // All pictures are with the encoder: asking for its packets waits until it has given them back.
      collect();
      target = videoEncoderBufferAllocate(owner.handle(), index);
    }
    if (target < 0 && slot.stalled()) target = videoEncoderBufferAllocate(owner.handle(), index);
    if (target < 0) throw new HostException("all pictures of rendition " + spec.sizeText() + " are taken");
    return target;
  }

  /** The target holds the picture of this time, scaled in `ns` with all others. */
  void scaled(long time, long ns) throws HostException {
    again = slot.owes(time);
    skipped = !again && (time <= doneTo || (time != keptTime && !limiter.keep(time)));
    if (skipped) return;
    keptTime = time;
    if (quality != null) quality.unreadable();
    counters.scaled(ns);
    holdPreview(time);
  }

  /** Scales the picture; `key` asks for a key picture beside those that are due. */
  void scaleFrom(long decoderFrame, long time, long firstTime, boolean key) throws HostException {
    if (skipped) return;
    boolean measured =
        quality != null && !again && quality.ask(time, key || keyIsDue || keysDue(time, firstTime) > keys);
    long startNs = System.nanoTime();
    long result = videoDecoderTransferFrameSingle(owner.handle(), decoderFrame, target, index);
    counters.scaled(System.nanoTime() - startNs);
    if (measured) quality.taken(time);
    if (result != 0) throw slot.notScaled(time);
    holdPreview(time);
  }

  private void holdPreview(long time) throws HostException {
    if (time <= doneTo || !owner.output().wantsFrame(index, time)) return;
    owner.check(videoEncoderBufferAcquire(owner.handle(), index, target), "a picture could not be held");
    previewTarget = target;
  }

  // Counted from the first picture of all, so that every rendition has its key pictures at the same times.
  private long keysDue(long time, long firstTime) {
    return (long) Math.floor((time - firstTime + 0.5) / (settings.keyFrameSeconds() * 1000)) + 1;
  }

  /** Hands the scaled picture over; `key` asks for a key picture beside those that are due. */
  void encode(long time, long firstTime, boolean key) throws HostException, IOException {
    if (skipped && time <= doneTo) return;
    if (firstPts == Long.MIN_VALUE)
      firstPts = time == firstTime ? times.ptsOf(time) : settings.source().timeBase().ofMilliseconds(firstTime);
    keyIsDue |= key;
    if (skipped) {
      videoEncoderSkipFrame(owner.handle(), index, target, index, FRAME_INTER, time);
      counters.leftOut();
      doneTo = time;
      return;
    }
    // Asynchronous encoders are asked for the former picture's packets just before they get the
    // next picture, which leaves them the whole time of decoding and scaling.
    if (settings.parallel()) collect();
    long due = keysDue(time, firstTime);
    if (again) slot.addAgain(target, time);
    else slot.add(target, time, keyIsDue || due > keys);
    keyIsDue = false;
    if (time > doneTo) {
      added++;
      keys = due;
      doneTo = time;
      counters.handedOver(time);
    }
    if (!settings.parallel()) collect();
  }

  /** Its pool went with the device. What its encoder has not answered comes again. */
  void leaveDevice(Device left, DeviceFailure failure) throws HostException {
    target = -1;
    previewTarget = -1;
    slot.leaveDevice(left, failure);
  }

  /** Pictures that went with the device and did not come again. */
  int owed() {
    return slot.owed();
  }

  void releaseTarget() {
    if (target >= 0) videoEncoderBufferRelease(owner.handle(), index, target);
    target = -1;
  }

  /**
   * Reads the picture that the output asked for and gives it back. Comes after all encoders have theirs, so that they
   * are at work meanwhile; the second hold keeps the picture from being used again.
   */
  void showPreview(long time) {
    if (previewTarget < 0) return;
    preview.width = Math.min(settings.previewWidth(), spec.width()) & ~1;
    preview.height = Math.max(2, (int) Math.round((double) preview.width * spec.height() / spec.width()) & ~1);
    preview.bytes = null;
    videoEncoderBufferGetVideoFrame(owner.handle(), index, previewTarget, preview);
    videoEncoderBufferRelease(owner.handle(), index, previewTarget);
    previewTarget = -1;
    if (preview.bytes != null) owner.output().frame(index, time, preview);
  }

  /** Passes on what the encoder has ready. */
  void collect() throws HostException, IOException {
    slot.collect();
  }

  // Where the encoder reorders, a packet's timecode is that of its decoding. Nothing comes before the first picture:
  // not every container can say so.
  private void passOn(TranscoderPacket packet) throws HostException, IOException {
    long pts = times.ptsOf(packet.timecode + packet.timecodeOffset);
    Rational unit = settings.source().timeBase();
    long dts = packet.timecodeOffset == 0 ? pts : Math.floorDiv(packet.timecode * unit.den(), 1000L * unit.num());
    if (quality != null) quality.packet(packet);
    counters.packet(packet.len, settings.source().timeBase().toMilliseconds(pts));
    owner.output().packet(index, packet, pts, Math.min(Math.max(dts, firstPts), pts));
  }

  /** Ends the stream: asks the encoder for what it holds back. */
  void end() throws HostException {
    slot.end();
  }

  /** Passes that on, all of it. */
  void flush() throws HostException, IOException {
    slot.flush();
  }

  void updateBitRate(long bitsPerSecond) throws HostException, IOException {
    slot.updateBitRate(bitsPerSecond);
  }
}
