package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import java.io.IOException;
import java.util.Arrays;
import java.util.function.Consumer;

/**
 * The sound of a capture device on the session's clock. A block of a session keeps the device's time whatever is done to
 * it, so a native session of its own takes the blocks, and they go on as samples: at other times where the pictures do,
 * with silence where nothing came.
 */
final class CaptureSound implements AutoCloseable {
  private static final long DECODER_OF_CAPTURE = 1;
  private static final long BLOCK = 0;
  private static final long STATUS_BLOCK = 0x04;
  private static final int SAMPLE_BYTES = 2;
  // Times come as whole milliseconds of pictures, those of samples don't: less than this is no gap.
  private static final int ROUNDING_MS = 5;
  // Sound that stays behind the pictures for so long has stopped.
  private static final int PATIENCE_MS = 1000;
  private static final int AHEAD_MS = 2000;
  private static final int MAX_SILENCE_SAMPLES = 1 << 15;

  private final NativeSession owner;
  private final AudioStreamInfo info;
  private final Consumer<CaptureEvent> listener;
  private final TranscoderNativeLong status = new TranscoderNativeLong();
  private final TranscoderNativeLong ignored = new TranscoderNativeLong();
  private final TranscoderNativeAudioFrame block = new TranscoderNativeAudioFrame();
  private long reached;
  private long silent;
  private boolean lost;
  private boolean otherForm;

  CaptureSound(String name, CaptureSettings settings, AudioStreamInfo info, SessionOutput output, SessionCounters counters)
      throws HostException {
    this.info = info;
    this.listener = settings.listener();
    this.owner = new NativeSession(name + ", sound", output, counters, Device.SOFTWARE);
    boolean ready = false;
    try {
      wire(settings.device());
      ready = true;
    } finally {
      if (!ready) owner.close();
    }
  }

  private void wire(CaptureDevice device) throws HostException {
    long session = owner.handle();
    String what = device + ": its sound cannot be captured";
    owner.check(audioDecoderCreate(session, DECODER_OF_CAPTURE, 0, 0, owner.context("")), what);
    owner.check(audioDecoderSetCaptureDevice(session, device.id()), what);
    owner.check(audioDecoderInitialize(session), what);
    owner.check(audioDecoderBuffersCreate(session, 1), what);
    owner.check(audioDecoderBuffersAllocate(session, device.mostBlockSamples(), info.channels(), info.sampleRate()), what);
  }

  /** Samples of silence that took the place of sound. */
  long silentSamples() {
    return silent;
  }

  long samples() {
    return reached;
  }

  /** Passes all blocks on that wait. */
  void poll(CaptureInput pictures, AudioPath path) throws HostException, IOException {
    while (take()) {
      boolean sameForm = block.sampleRate == info.sampleRate() && block.channels == info.channels();
      if (!sameForm) noteForm();
      if (sameForm && pictures.isKnown() && !pictures.onSlate()) pass(pictures, path);
    }
    long due = pictures.lastMs() * info.sampleRate() / 1000;
    boolean behind = due - reached > (long) info.sampleRate() * PATIENCE_MS / 1000;
    if (!pictures.onSlate() && !behind) return;
    if (behind && !lost && !pictures.onSlate())
      tell(CaptureEvent.Kind.SOUND_LOST, "none for " + PATIENCE_MS + " ms");
    lost |= behind;
    fill(due, path);
  }

  private boolean take() throws HostException {
    if (audioDecoderCaptureFrame(owner.handle(), BLOCK, status, ignored) != 0 || (status.value & STATUS_BLOCK) == 0)
      return false;
    owner.check(audioDecoderGetAudioFrame(owner.handle(), BLOCK, block), owner.name() + ": a block cannot be read");
    return true;
  }

  private void pass(CaptureInput pictures, AudioPath path) throws HostException, IOException {
    long at = block.timecode - pictures.deviceBaseMs() * info.sampleRate() / 1000;
    // Beyond belief: it would be waited for in silence.
    if (at - pictures.lastMs() * info.sampleRate() / 1000 > (long) info.sampleRate() * AHEAD_MS / 1000) return;
    long off = at - reached;
    byte[] data = block.buffer;
    if (Math.abs(off) > (long) info.sampleRate() * ROUNDING_MS / 1000) {
      if (off < 0) data = withoutHead(data, -off);
      else fill(at, path);
    }
    if (data.length == 0) return;
    if (lost) tell(CaptureEvent.Kind.SOUND_BACK, "");
    lost = false;
    push(CaptureFeed.samples(info, reached, data), path);
  }

  private byte[] withoutHead(byte[] data, long samples) {
    long bytes = Math.min(data.length, samples * SAMPLE_BYTES * info.channels());
    return Arrays.copyOfRange(data, (int) bytes, data.length);
  }

  private void fill(long to, AudioPath path) throws HostException, IOException {
    while (reached < to) {
      int samples = (int) Math.min(MAX_SILENCE_SAMPLES, to - reached);
      silent += samples;
      push(CaptureFeed.silence(info, reached, samples), path);
    }
  }

  private void push(MediaPacket packet, AudioPath path) throws HostException, IOException {
    reached += packet.duration();
    path.push(packet, null);
  }

  private void noteForm() {
    if (otherForm) return;
    otherForm = true;
    tell(
        CaptureEvent.Kind.FORMAT_CHANGED,
        "sound of " + block.sampleRate + " Hz in " + block.channels + " channels is left out");
  }

  private void tell(CaptureEvent.Kind kind, String detail) {
    listener.accept(new CaptureEvent(kind, reached * 1000 / info.sampleRate(), detail));
  }

  @Override
  public void close() {
    owner.close();
  }
}
