package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.PacketLookahead;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/**
 * Drives one native session: coded packets in, coded packets of every rendition out. One thread at a time.
 *
 * <p>The calls come in the order that the native side wants: the decoder, the scaler, the decoder's pool, each
 * encoder with its own pool, then per picture decode, scale into every rendition, encode, collect, release.
 */
public final class TranscodeSession implements AutoCloseable {
  private static final long FOURCC_YV12 = 0x32315659L;
  private static final long SCALER_CPU = 1;
  private static final long BIT_DEPTH = 8;
  private static final int DECODER_FRAMES = 4;
  private static final long MAX_FRAME_SIDE = 8192;
  // Half-size copies and overlays by the scaler plug-in, where there is one.
  private static final long SCALE_FLAG_PLUGIN_HALVES = 0x1;
  private static final long SCALE_FLAG_PLUGIN_OVERLAYS = 0x2;
  // Lets the CPU honour crop, padding and fill, which it otherwise leaves to devices.
  private static final long SCALE_FLAG_PLACE_ON_CPU = 0x10000;
  private static final long STATUS_INPUT_USED = 0x01;
  private static final long STATUS_FRAME = 0x04;
  private static final long STATUS_INCOMPLETE = 0x08;
  private static final long STATUS_DAMAGED = 0x10;
  private static final long STATUS_ABORTED = 0x40;
  private static final long STATUS_FLUSHED = 0x80;
  private static final int KEY_DEINTERLACE = 0;
  private static final int KEY_DEINTERLACE_DOUBLE_RATE = 1;
  private static final int KEY_END_OF_STREAM = 100200;
  private static final int KEY_CONVERT_FORMATS = 100201;
  private static final int LOG_FETCH_INTERVAL_FRAMES = 250;
  // A decoder that neither takes input nor gives pictures would spin for ever.
  private static final int MAX_IDLE_STEPS = 64;

  private final SessionSettings settings;
  private final NativeSession owner;
  private final SessionCounters counters;
  private final List<RenditionPath> paths = new ArrayList<>();
  private final TranscoderNativeLong status = new TranscoderNativeLong();
  private final TranscoderNativeLong timecode = new TranscoderNativeLong();
  private final TranscoderNativeVideoDecodeFrameInfo frameInfo = new TranscoderNativeVideoDecodeFrameInfo();
  private AudioPath audio;
  private CaptureInput captured;
  private final CaptureCues cues = new CaptureCues();
  private CaptureSound sound;
  private VideoSource source;
  private TimecodeMap times;
  private boolean configured;
  private long firstTime = Long.MIN_VALUE;
  private long refused;
  private long concealed;
  private long[] targets = {};
  private long session;
  private long heldDecoderFrame = -1;
  private long frames;
  private long decodeNs;

  /**
   * Opens a session ready for its first packet; nothing is left behind when that fails. The form of sound is learnt
   * from packets that lie ahead in `feed`, which may be null where there is no sound to do.
   */
  public TranscodeSession(SessionSettings settings, SessionOutput output, PacketLookahead feed)
      throws HostException, MediaException {
    this.settings = settings;
    counters = new SessionCounters(settings);
    owner = new NativeSession(settings.name(), output, counters);
    session = owner.handle();
    boolean ready = false;
    try {
      if (settings.codec() != null || settings.capture() != null) wireVideo();
      if (settings.audio() != null) audio = openAudio(feed);
      if (audio != null && captured != null)
        sound = new CaptureSound(name(), settings.capture(), settings.audio().source(), output, counters);
      ready = true;
    } finally {
      if (!ready) close();
    }
  }

  private AudioPath openAudio(PacketLookahead feed) throws HostException, MediaException {
    try {
      return new AudioPath(owner, settings.audio(), feed);
    } catch (HostException e) {
      throw new AudioRefusedException(e.getMessage());
    }
  }

  /** The native session's number; valid until {@link #close}. */
  public long handle() {
    return session;
  }

  /** The stream's name. */
  public String name() {
    return settings.name();
  }

  /** The audio side, null when sound is left out. */
  public AudioPath audio() {
    return audio;
  }

  /** What was logged so far. */
  public SessionLog log() {
    return owner.log();
  }

  /** What it has done so far, for other threads to watch. */
  public SessionCounters counters() {
    return counters;
  }

  /** Pictures decoded so far. */
  public long frames() {
    return frames;
  }

  /** Pictures that went to the encoder of a rendition so far. */
  public long encodedFrames(int rendition) {
    return paths.get(rendition).added();
  }

  /** What encodes a rendition at this time. */
  public EncoderBackend encoder(int rendition) {
    return paths.get(rendition).encoder();
  }

  /** Coded pictures that the decoder refused, wholly or in part. */
  public long refusedFrames() {
    return refused;
  }

  /** The same, and those that it mended or left out. */
  public long damagedFrames() {
    return refused + concealed;
  }

  /** Changes the rate of a rendition while it runs; it holds from the next picture on. */
  public void updateBitRate(int rendition, long bitsPerSecond) throws HostException, IOException {
    paths.get(rendition).updateBitRate(bitsPerSecond);
  }

  /** Takes one coded packet all the way. A damaged one costs its own picture only. */
  public void push(MediaPacket packet) throws HostException, IOException {
    // Containers keep empty packets where a live encoder dropped a picture.
    if (!source.accept(packet)) return;
    if (!configured || source.configChanged()) configure();
    byte[] data = source.data();
    long type =
        packet.key()
            ? RenditionPath.FRAME_KEY
            : packet.disposable() ? RenditionPath.FRAME_DISPOSABLE : RenditionPath.FRAME_INTER;
    long time = times.assign(packet);
    long startNs = System.nanoTime();
    long result = videoDecoderAddFrame(session, data, 0, data.length, time, type);
    decodeNs = System.nanoTime() - startNs;
    boolean aborted = false;
    long concealedBefore = concealed;
    for (int idle = 0; idle < MAX_IDLE_STEPS; idle++) {
      if (decodeStep()) idle = 0;
      aborted |= (status.value & STATUS_ABORTED) != 0;
      if ((status.value & STATUS_INPUT_USED) != 0) break;
    }
    if (result != 0 || aborted) {
      refused++;
      concealed = concealedBefore;
    }
    counters.decoded(decodeNs);
    counters.damaged(damagedFrames());
  }

  /**
   * Takes what the capture device has: a picture, if one waits, and all sound up to it.
   *
   * @return false where no picture waited
   */
  public boolean capture() throws HostException, IOException {
    decodeNs = 0;
    boolean came = step();
    if (came) deliverCaptured();
    else captured.nothingCame();
    if (sound != null) sound.poll(captured, audio);
    return came;
  }

  private void deliverCaptured() throws HostException, IOException {
    long index = heldDecoderFrame;
    try {
      long time = captured.place(timecode.value, status.value, frameInfo);
      if (time != CaptureInput.NOT_SHOWN) deliver(index, times.carry(time), passCues(time) | captured.takeKeyDue());
    } finally {
      heldDecoderFrame = -1;
      videoDecoderBufferRelease(session, index);
    }
    counters.decoded(decodeNs);
    countPicture();
  }

  /** True where a cue is due at the picture, which then is to be a key picture. */
  private boolean passCues(long time) throws HostException, IOException {
    cues.accept(frameInfo.ancillaryData, time);
    boolean due = false;
    for (SpliceCue cue = cues.take(time); cue != null; cue = cues.take(time)) {
      due = true;
      settings.capture().listener().accept(new CaptureEvent(CaptureEvent.Kind.CUE, time, cue.toString()));
      owner.output().cue(cue, time);
    }
    return due;
  }

  /** Time of the last picture that was captured. */
  public long captureReachedMs() {
    return Math.max(0, captured.lastMs());
  }

  /** What a capture came to so far; null for a session of packets. */
  public CaptureFigures captureFigures() {
    if (captured == null) return null;
    double seconds = sound == null ? 0 : (double) sound.silentSamples() / settings.audio().source().sampleRate();
    return new CaptureFigures(
        captured.dropped(), captured.droppedByDevice(), captured.withheld(), captured.slatePictures(), captured.worstOffsetMs(), seconds);
  }

  /** Ends the stream: hands out all that the decoder and the encoders still hold. */
  public void drain() throws HostException, IOException {
    if (configured) drainDecoder();
    counters.damaged(damagedFrames());
    collect();
    for (RenditionPath path : paths) path.flush();
    if (audio != null) audio.drain();
  }

  private void drainDecoder() throws HostException, IOException {
    if (settings.codec().wantsNoConfig()) return;
    NativeParameters end = new NativeParameters().set(KEY_END_OF_STREAM, 1);
    String what = settings.name() + ": its decoder could not be told the end";
    check(videoDecoderSetParameterValues(session, end.toArray()), what);
    for (int idle = 0; idle < MAX_IDLE_STEPS; idle++) {
      if (decodeStep()) idle = 0;
      if ((status.value & STATUS_FLUSHED) != 0) return;
    }
  }

  private void configure() throws HostException {
    byte[] config = source.config();
    String what = settings.name() + ": its " + settings.codec().codecName + " configuration was refused";
    check(videoDecoderDecodeCodecConfig(session, config, 0, config.length), what);
    configured = true;
  }

  private void collect() throws HostException, IOException {
    for (RenditionPath path : paths) path.collect();
  }

  /** Frees the native session and all that belongs to it; the log stays readable. */
  @Override
  public void close() {
    if (session == 0) return;
    if (heldDecoderFrame >= 0) videoDecoderBufferRelease(session, heldDecoderFrame);
    heldDecoderFrame = -1;
    if (audio != null) audio.close();
    if (sound != null) sound.close();
    owner.close();
    session = 0;
    counters.ended();
  }

  private void wireVideo() throws HostException {
    wireDecoder();
    String scaler = settings.name() + ": the scaler could not be set up";
    check(videoScalerCreate(session, FOURCC_YV12, BIT_DEPTH), scaler);
    check(videoScalerSetImplementation(session, SCALER_CPU, -1), scaler);
    check(videoScalerSetFlags(session, scaleFlags()), scaler);
    check(videoDecoderBuffersCreate(session, DECODER_FRAMES), settings.name() + ": no memory for decoded pictures");
    check(videoDecoderSetFrameSizeLimits(session, MAX_FRAME_SIDE, MAX_FRAME_SIDE, 1, 1), scaler);
    for (int i = 0; i < settings.renditions().size(); i++)
      paths.add(new RenditionPath(owner, settings, i, times));
    targets = new long[paths.size()];
    check(videoScalerInitialize(session), scaler);
    if (source != null && source.config() != null) configure();
    placeOverlays();
  }

  private long scaleFlags() {
    boolean placement = settings.renditions().stream().anyMatch(RenditionSpec::needsPlacement);
    long flags = SCALE_FLAG_PLUGIN_HALVES | (placement ? SCALE_FLAG_PLACE_ON_CPU : 0);
    // The plug-in's place counts an offset from the right or the bottom outwards, the converter's inwards.
    if (settings.overlays().stream().noneMatch(OverlaySpec::hangsFarWithOffset)) flags |= SCALE_FLAG_PLUGIN_OVERLAYS;
    return flags | settings.source().orientation().scaleFlags();
  }

  private void wireDecoder() throws HostException {
    if (settings.capture() != null) {
      times = new TimecodeMap();
      captured = new CaptureInput(owner, settings.capture(), settings.source().frameRateOrDefault());
      captured.wire(BIT_DEPTH, FOURCC_YV12);
      return;
    }
    VideoCodec codec = settings.codec();
    String what = settings.name() + ": no decoder for " + codec.codecName;
    check(videoDecoderCreate(session, 0, codec.id, codec.version, BIT_DEPTH, 0, FOURCC_YV12, owner.context("")), what);
    source = new VideoSource(codec, settings.config());
    times = new TimecodeMap(codec.reorders(), settings.source().timeBase(), settings.source().frameRate());
    check(videoDecoderSetParameterValues(session, decoderParameters()), what);
    check(videoDecoderApplyParameters(session), what);
    videoDecoderSetGPUID(session, -1);
    check(videoDecoderInitialize(session), what);
  }

  private TranscoderNativeParameterValue[] decoderParameters() {
    Deinterlace wanted = settings.deinterlace();
    return new NativeParameters()
        .set(KEY_DEINTERLACE, wanted.mode)
        .set(KEY_DEINTERLACE_DOUBLE_RATE, wanted.doubleRate)
        .set(KEY_CONVERT_FORMATS, 1)
        .toArray();
  }

  private void placeOverlays() throws HostException {
    int slot = 0;
    StreamInfo upright = settings.source().upright();
    for (OverlaySpec spec : settings.overlays()) {
      OverlayImage image = OverlayImage.load(spec.image());
      if (spec.rendition() == OverlaySpec.ON_DECODER) {
        TranscoderNativeVideoFrame frame =
            image.placedOnCoded(spec, upright.width(), upright.height(), settings.source().orientation());
        check(videoDecoderBufferSetOverlayVideoFrame(session, slot++, frame), spec.image() + ": refused as an overlay");
      } else {
        paths.get(spec.rendition()).setOverlay(slot++, spec, image);
      }
    }
  }

  /** One step of the decoder; true when it left a picture in the frame that is held. */
  private boolean step() throws HostException, IOException {
    if (heldDecoderFrame < 0) heldDecoderFrame = allocateDecoderFrame();
    frameInfo.timcodeInfo.clear();
    frameInfo.ancillaryData.clear();
    long startNs = System.nanoTime();
    long result = videoDecoderDecode(session, heldDecoderFrame, status, timecode, frameInfo);
    decodeNs += System.nanoTime() - startNs;
    if (result != 0)
      throw owner.failure(settings.name() + ": its " + settings.source().codecName() + " pictures could not be decoded");
    if ((status.value & STATUS_DAMAGED) != 0) concealed++;
    return (status.value & STATUS_FRAME) != 0 && (status.value & STATUS_INCOMPLETE) == 0;
  }

  /** The same all the way into the encoders. */
  private boolean decodeStep() throws HostException, IOException {
    if (!step()) return false;
    long index = heldDecoderFrame;
    try {
      boolean hidden = times.isHidden(timecode.value);
      long time = times.delivered(timecode.value);
      if (!hidden) deliver(index, time, false);
      if (!hidden && doublesRate()) deliverSecond(index);
    } finally {
      heldDecoderFrame = -1;
      videoDecoderBufferRelease(session, index);
    }
    countPicture();
    return true;
  }

  private void countPicture() {
    counters.pictures(++frames);
    if (frames % LOG_FETCH_INTERVAL_FRAMES != 0) return;
    owner.fetchLog();
    counters.summarize();
  }

  private boolean doublesRate() {
    return settings.deinterlace() == Deinterlace.DOUBLE && settings.codec().deinterlaces();
  }

  private void deliverSecond(long index) throws HostException, IOException {
    check(videoDecoderGetFrame(session, index, timecode), "the second field could not be fetched");
    double rate = frameInfo.frameRate > 0 ? frameInfo.frameRate : settings.source().frameRateOrDefault();
    deliver(index, times.deliveredAfter(0.5 / rate), false);
    frames++;
  }

  private long allocateDecoderFrame() throws HostException, IOException {
    long index = videoDecoderBufferAllocate(session);
    if (index >= 0) return index;
    collect();
    index = videoDecoderBufferAllocate(session);
    if (index < 0) throw new HostException("all pictures of the decoder are taken");
    return index;
  }

  /** Scales one decoded picture into every rendition that wants it and sends the results to the encoders. */
  private void deliver(long decoderFrame, long time, boolean key) throws HostException, IOException {
    if (firstTime == Long.MIN_VALUE) firstTime = time;
    try {
      for (int i = 0; i < targets.length; i++) targets[i] = paths.get(i).takeTarget(time);
      check(videoDecoderTransferFrameStart(session, decoderFrame, targets), "a picture could not be delivered");
      owner.output().decoded(time, (int) frameInfo.displayWidth, (int) frameInfo.displayHeight);
      for (RenditionPath path : paths) path.scaleFrom(decoderFrame, time);
      // The smallest rendition is done first, so it is asked first and gets its next picture while others work.
      for (int i = paths.size() - 1; i >= 0; i--) paths.get(i).encode(time, firstTime, key);
      for (RenditionPath path : paths) path.showPreview(time);
    } finally {
      for (RenditionPath path : paths) path.releaseTarget();
    }
  }

  /** The exact times of pictures. */
  public TimecodeMap times() {
    return times;
  }

  /** Turns a failure number into an exception that carries the session's own words where it has any. */
  public void check(long result, String what) throws HostException {
    owner.check(result, what);
  }
}
