package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceSessionInfo;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecoderCaptureInfo;
import java.util.Locale;

/**
 * Where a session's pictures come from: a capture device, or its slate while the device has no signal. The session's
 * clock begins at 0 with the first picture and runs on whatever happens: it is the device's as long as that does, and
 * is tied to the time of day again where it does not.
 */
final class CaptureInput {
  /** A picture that is not to be shown. */
  static final long NOT_SHOWN = -1;

  private static final long DECODER_OF_CAPTURE = 1;
  private static final int KEY_TELL_SIGNAL = 100300;
  private static final long STATUS_NO_SIGNAL = 0x100;
  // Without a word from the device: pictures stay away for so long, and so many of them.
  private static final long STALL_MS = 500;
  private static final int STALL_PICTURES = 8;
  // A device whose clock ran on keeps it, one that began anew does not.
  private static final long KEPT_CLOCK_MS = 500;
  private static final long JUMP_MS = 2000;
  private static final long LOOK_NS = 20_000_000L;
  private static final long RETRY_NS = 1_000_000_000L;

  private final NativeSession owner;
  private final CaptureSettings settings;
  private final TranscoderNativeVideoDecoderCaptureInfo counts = new TranscoderNativeVideoDecoderCaptureInfo();
  private double periodMs;
  private long startNs;
  private long lastNs;
  private long lookedNs;
  private long triedNs;
  private long lastMs = -1;
  private long lastDeviceMs = Long.MIN_VALUE;
  private long deviceBase;
  private long slateBase;
  private boolean known;
  private boolean anew = true;
  private boolean onSlate;
  private boolean keyDue;
  private long countAtLoss;
  private long lostAtMs;
  private Format format;
  private Format candidate;
  private long dropped;
  private long deviceDropped;
  private long deviceDroppedBefore;
  private long withheld;
  private long slatePictures;
  private long worstOffsetMs;

  CaptureInput(NativeSession owner, CaptureSettings settings, double frameRate) {
    this.owner = owner;
    this.settings = settings;
    this.periodMs = 1000 / frameRate;
  }

  /** Makes the session's decoder. */
  void wire(long bitDepth, long fourcc) throws HostException {
    long session = owner.handle();
    String what = settings.device() + ": cannot be captured";
    owner.check(
        videoDecoderCreate(session, DECODER_OF_CAPTURE, 0, 0, bitDepth, 0, fourcc, owner.context("")), what);
    owner.check(videoDecoderSetParameterValues(session, new NativeParameters().set(KEY_TELL_SIGNAL, 1).toArray()), what);
    owner.check(videoDecoderSetCaptureDevice(session, settings.device().id()), what);
    owner.check(videoDecoderInitialize(session), what);
    // What the device lost before is not of this session.
    deviceDroppedBefore = settings.device().figures().videoDroppedFrames;
  }

  /** The session's time of a picture that came with the device's, or {@link #NOT_SHOWN}. */
  long place(long deviceMs, long status, TranscoderNativeVideoDecodeFrameInfo info) throws HostException {
    lastNs = System.nanoTime();
    if (onSlate) {
      if (signalIsBack(lastNs)) {
        comeBack();
        return NOT_SHOWN;
      }
      slatePictures++;
      return stamp(deviceMs);
    }
    if ((status & STATUS_NO_SIGNAL) != 0) {
      withheld++;
      lose("its pictures say so");
      return NOT_SHOWN;
    }
    noteFormat(info);
    return stamp(deviceMs);
  }

  /** No picture waited: tells a device that falls silent, and one that is back. */
  void nothingCame() throws HostException {
    long now = System.nanoTime();
    if (onSlate) {
      if (signalIsBack(now)) comeBack();
      return;
    }
    // The wait begins with the first question: what was set up before took its time.
    if (lastNs == 0) lastNs = now;
    long silentMs = (now - lastNs) / 1_000_000;
    if (silentMs > Math.max(STALL_MS, STALL_PICTURES * periodMs)) lose("no picture for " + silentMs + " ms");
  }

  /** True once for the first picture behind a loss of signal. */
  boolean takeKeyDue() {
    boolean due = keyDue;
    keyDue = false;
    return due;
  }

  boolean onSlate() {
    return onSlate;
  }

  /** True once the session's clock runs by the device's. */
  boolean isKnown() {
    return known;
  }

  /** Of the picture last shown. */
  long lastMs() {
    return lastMs;
  }

  /** Where the device's clock has the session's 0, in its milliseconds. */
  long deviceBaseMs() {
    return deviceBase;
  }

  /** Pictures that the session was too slow for. */
  long dropped() {
    videoDecoderGetCaptureInfo(owner.handle(), counts);
    if (counts.droppedFrames > dropped)
      tell(CaptureEvent.Kind.PICTURES_DROPPED, lastMs, (counts.droppedFrames - dropped) + " came faster than they were taken");
    dropped = counts.droppedFrames;
    return dropped;
  }

  /** Pictures that the device itself was too slow for, as it tells. */
  long droppedByDevice() {
    long now = settings.device().figures().videoDroppedFrames;
    // It begins anew with each start.
    long more = now >= deviceDroppedBefore ? now - deviceDroppedBefore : now;
    if (more > 0) tell(CaptureEvent.Kind.PICTURES_DROPPED, lastMs, more + " by the device");
    deviceDroppedBefore = now;
    return deviceDropped += more;
  }

  long withheld() {
    return withheld;
  }

  long slatePictures() {
    return slatePictures;
  }

  /** By which a picture of the device was off the wall clock when it was taken. */
  long worstOffsetMs() {
    return worstOffsetMs;
  }

  private long stamp(long deviceMs) {
    long nowNs = lastNs;
    boolean jumped = deviceMs <= lastDeviceMs || deviceMs - lastDeviceMs > JUMP_MS;
    lastDeviceMs = deviceMs;
    if (startNs == 0) startNs = nowNs;
    if (anew || jumped) settleBase(deviceMs, Math.max(nextMs(), (nowNs - startNs) / 1_000_000));
    anew = false;
    long time = deviceMs - (onSlate ? slateBase : deviceBase);
    if (!onSlate) worstOffsetMs = Math.max(worstOffsetMs, Math.abs((nowNs - startNs) / 1_000_000 - time));
    return lastMs = Math.max(time, lastMs + 1);
  }

  private void settleBase(long deviceMs, long elapsedMs) {
    if (onSlate) {
      slateBase = deviceMs - elapsedMs;
      return;
    }
    boolean ranOn = known && Math.abs(deviceMs - deviceBase - elapsedMs) <= KEPT_CLOCK_MS && deviceMs - deviceBase > lastMs;
    if (!ranOn) deviceBase = deviceMs - elapsedMs;
    known = true;
  }

  private long nextMs() {
    return lastMs < 0 ? 0 : lastMs + Math.round(periodMs);
  }

  // By the second picture of a kind: the last one before a change may have a form of both.
  private void noteFormat(TranscoderNativeVideoDecodeFrameInfo info) {
    Format now = new Format((int) info.displayWidth, (int) info.displayHeight, info.frameRate);
    if (now.equals(format)) {
      candidate = null;
      return;
    }
    if (format != null && !now.equals(candidate)) {
      candidate = now;
      return;
    }
    if (format != null) tell(CaptureEvent.Kind.FORMAT_CHANGED, nextMs(), format + " to " + now);
    format = now;
    candidate = null;
    if (now.rate > 0) periodMs = 1000 / now.rate;
  }

  private record Format(int width, int height, double rate) {
    @Override
    public String toString() {
      return String.format(Locale.ROOT, "%dx%d at %.2f", width, height, rate);
    }
  }

  private void lose(String why) throws HostException {
    // What still waits goes with the queue.
    videoDecoderGetCaptureInfo(owner.handle(), counts);
    withheld += counts.frameSyncCount;
    TranscoderCaptureDeviceSessionInfo figures = settings.device().figures();
    countAtLoss = figures.videoFrameCountTotal;
    lostAtMs = nextMs();
    tell(CaptureEvent.Kind.SIGNAL_LOST, lostAtMs, why);
    settings.slate().tryStart();
    switchTo(settings.slate(), true);
    triedNs = System.nanoTime();
  }

  private void comeBack() throws HostException {
    tell(CaptureEvent.Kind.SIGNAL_BACK, nextMs(), "after " + (nextMs() - lostAtMs) + " ms");
    switchTo(settings.device(), false);
    settings.slate().stop();
    keyDue = true;
  }

  private void switchTo(CaptureDevice next, boolean slate) throws HostException {
    dropped();
    onSlate = slate;
    anew = true;
    lastDeviceMs = Long.MIN_VALUE;
    lastNs = System.nanoTime();
    owner.check(videoDecoderSetCaptureDevice(owner.handle(), next.id()), next + ": cannot be captured");
  }

  // Pictures with a signal are counted by the device, others are not.
  private boolean signalIsBack(long nowNs) {
    if (nowNs - lookedNs < LOOK_NS) return false;
    lookedNs = nowNs;
    TranscoderCaptureDeviceSessionInfo figures = settings.device().figures();
    countAtLoss = Math.min(countAtLoss, figures.videoFrameCountTotal);
    if (figures.videoFrameCountTotal > countAtLoss) return true;
    if (figures.running == 0 && nowNs - triedNs > RETRY_NS) {
      triedNs = nowNs;
      settings.device().tryStart();
    }
    return false;
  }

  private void tell(CaptureEvent.Kind kind, long ms, String detail) {
    settings.listener().accept(new CaptureEvent(kind, Math.max(0, ms), detail));
  }
}
