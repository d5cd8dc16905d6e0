package com.zarvo.qvs.host;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/** One rendition within a session: its encoder, its pool of pictures and what becomes of the current picture. */
final class RenditionRoad {
  static final long FRAME_KEY = 1;
  static final long FRAME_INTER = 2;

  private static final long FOURCC_YV12 = 0x32315659L;
  private static final long BIT_DEPTH = 8;
  private static final int TYPE_LONG = 1;
  private static final int KEY_CPU_USED = 100033;
  private static final int KEY_THREAD_COUNT = 100100;
  private static final int KEY_ASYNCHRONOUS = 100101;
  // Fixed speed: the automatic one gives up several dB for time that live streams on this many cores don't need.
  private static final long CPU_USED = -8;

  private final TranscodeSession owner;
  private final SessionSettings settings;
  private final RenditionSpec spec;
  private final int index;
  private final FrameRateLimiter limiter;
  private final List<TranscoderPacket> packets = new ArrayList<>();
  private final TranscoderNativeVideoFrame preview = new TranscoderNativeVideoFrame();
  private long target = -1;
  private long previewTarget = -1;
  private boolean skipped;
  private boolean keyed;
  private long lastKeyTime;
  private long added;

  /** Makes encoder and pool of rendition `index`, which becomes the number of both. */
  RenditionRoad(
      TranscodeSession owner, SessionSettings settings, int index, TranscoderNativeStreamContext context)
      throws HostException {
    this.owner = owner;
    this.settings = settings;
    this.index = index;
    this.spec = settings.renditions().get(index);
    this.limiter = new FrameRateLimiter(spec.frameRate());
    long session = owner.handle();
    String what = "no encoder for " + spec.codec().codecName + " " + spec.sizeText();
    TranscoderNativeLong number = new TranscoderNativeLong();
    number.value = -1;
    owner.check(
        videoEncoderAdd(session, spec.codec().id, spec.codec().version, BIT_DEPTH, FOURCC_YV12, 0, context, number),
        what);
    owner.check(number.value == index ? 0 : -1, what);
    owner.check(videoEncoderSetDefaults(session, index, 0, 0), what);
    owner.check(videoEncoderSetFrameSize(session, index, spec.width(), spec.height()), what);
    owner.check(videoEncoderSetFrameRate(session, index, frameRate()), what);
    owner.check(videoEncoderSetBitrate(session, index, spec.bitRate()), what);
    owner.check(videoEncoderSetFrameIndex(session, index, index), what);
    owner.check(videoEncoderSetKeyFrameFollow(session, index, 1), what);
    owner.check(videoEncoderSetGPUID(session, index, -1), what);
    owner.check(videoEncoderSetParameterValues(session, index, parameters()), what);
    owner.check(videoEncoderApplyParameters(session, index), what);
    owner.check(videoEncoderBufferSetAlloc(session, number), what);
    owner.check(
        videoEncoderBufferAdd(session, spec.width(), spec.height(), spec.fit().code, FOURCC_YV12, 0, number.value),
        what);
    if (spec.crop() != null) videoEncoderBufferSetCrop(session, index, spec.crop());
    if (spec.padding() != null) videoEncoderBufferSetPadding(session, index, spec.padding());
    owner.check(videoEncoderInitialize(session, index), what);
  }

  /** Pictures that went to the encoder so far. */
  long added() {
    return added;
  }

  void setOverlay(int slot, OverlaySpec overlay, OverlayImage image) throws HostException {
    TranscoderNativeVideoFrame frame = image.placed(overlay, spec.width(), spec.height());
    owner.check(videoEncoderBufferSetOverlayVideoFrame(owner.handle(), index, slot, frame), "overlay");
  }

  /** Takes a free picture of the pool. Returns its number, or -1 when this time is left out. */
  long takeTarget(long time) throws HostException, IOException {
    target = videoEncoderBufferAllocate(owner.handle(), index);
    if (target < 0) {
      // All pictures are with the encoder: asking for its packets waits until it has given them back.
      collect();
      target = videoEncoderBufferAllocate(owner.handle(), index);
    }
    if (target < 0) throw new HostException("all pictures of rendition " + spec.sizeText() + " are taken");
    skipped = !limiter.keep(time);
    return skipped ? -1 : target;
  }

  void scaleFrom(long decoderPicture, long time) throws HostException {
    if (skipped) return;
    owner.check(
        videoDecoderTransferFrameSingle(owner.handle(), decoderPicture, target, index), "scaling failed");
    if (!owner.output().wantsPicture(index, time)) return;
    owner.check(videoEncoderBufferAcquire(owner.handle(), index, target), "a picture could not be held");
    previewTarget = target;
  }

  /** Hands the scaled picture over. The picture's number goes before the pool's: the native order. */
  void encode(long time) throws HostException, IOException {
    long session = owner.handle();
    if (skipped) {
      videoEncoderSkipFrame(session, index, target, index, FRAME_INTER, time);
      return;
    }
    // Encoders that work on their own threads are asked for the former picture's packets just before they get the
    // next picture, which leaves them the whole time of decoding and scaling.
    if (settings.parallel()) collect();
    boolean key = !keyed || time - lastKeyTime >= Math.round(settings.keyFrameSeconds() * 1000);
    owner.check(
        videoEncoderAddFrame(session, index, target, index, key ? FRAME_KEY : FRAME_INTER, time), "encoding failed");
    added++;
    if (key) lastKeyTime = time;
    keyed = true;
    if (!settings.parallel()) collect();
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
    if (preview.bytes != null) owner.output().picture(index, time, preview);
  }

  /** Passes on what the encoder has ready. */
  void collect() throws HostException, IOException {
    owner.check(videoEncoderGetEncodedFrames(owner.handle(), index, packets), "encoding failed");
    for (TranscoderPacket packet : packets) owner.output().packet(index, packet);
    packets.clear();
  }

  private double frameRate() {
    double source = settings.source().frameRateOrDefault();
    return spec.frameRate() > 0 ? Math.min(spec.frameRate(), source) : source;
  }

  private TranscoderNativeParameterValue[] parameters() {
    return new TranscoderNativeParameterValue[] {
      parameter(KEY_CPU_USED, CPU_USED),
      parameter(KEY_THREAD_COUNT, 1),
      parameter(KEY_ASYNCHRONOUS, settings.parallel() ? 1 : 0)
    };
  }

  private static TranscoderNativeParameterValue parameter(int key, long value) {
    TranscoderNativeParameterValue parameter = new TranscoderNativeParameterValue();
    parameter.dataType = TYPE_LONG;
    parameter.settingIndex = key;
    parameter.lValue = value;
    return parameter;
  }
}
