package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.PacketLookahead;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Align;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Orientation;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.awt.image.BufferedImage;
import java.io.IOException;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.Queue;
import java.util.TreeMap;

/**
 * Drives one native session: coded packets in, coded packets of every rendition out. One thread at a time.
 *
 * <p>The calls come in the order that the native side wants: the decoder, the scaler, the decoder's pool, each
 * encoder with its own pool, then per picture decode, scale into every rendition, encode, collect, release.
 */
public final class TranscodeSession implements AutoCloseable {
  private static final long BIT_DEPTH = 8;
  private static final int DECODER_FRAMES = 4;
  private static final String SCALER_TROUBLE = "the scaler could not be set up";
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
  private static final long SCALED = 2;
  private static final long SCALED_NOTHING = 4;
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
  private final TranscoderNativeLong scaled = new TranscoderNativeLong();
  private final TranscoderNativeLong timecode = new TranscoderNativeLong();
  private final TranscoderNativeVideoDecodeFrameInfo frameInfo = new TranscoderNativeVideoDecodeFrameInfo();
  private DecoderBackend decoder;
  /** Null where nothing can be lost with a card. */
  private CodedHistory history;
  /** Times of pictures that a card's decoder had given before it failed, by their timecodes. */
  private Map<Long, List<Long>> known = Map.of();
  private long decodedTo = Long.MIN_VALUE;
  /** Times of the pictures that a scaler in one pass has not given back, oldest first. */
  private final Queue<Long> inScaler = new ArrayDeque<>();
  /** By their slots. */
  private final Map<Integer, LiveOverlay> overlays = new TreeMap<>();
  private AudioPath audio;
  private CaptureInput captured;
  private final CaptureCues cues = new CaptureCues();
  private CaptureSound sound;
  private VideoSource source;
  private TimecodeMap times;
  private boolean configured;
  private long firstTime = Long.MIN_VALUE;
  private long pushedPts;
  private long deliveredTime;
  private boolean isDamaged;
  private long refused;
  private long concealed;
  private long[] targets = {};
  private long session;
  private long heldDecoderFrame = -1;
  private long frames;
  private long decodeNs;

  private record LiveOverlay(OverlaySpec spec, OverlayImage image) {}

  /**
   * Opens a session ready for its first packet; nothing is left behind when that fails. The form of sound is learnt
   * from packets that lie ahead in `feed`, which may be null where there is no sound to do.
   */
  public TranscodeSession(SessionSettings settings, SessionOutput output, PacketLookahead feed)
      throws HostException, MediaException {
    this.settings = settings;
    counters = new SessionCounters(settings);
    owner = new NativeSession(settings.name(), output, counters, settings.device(), settings.logListener());
    decoder = settings.decoder();
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
    try {
      paths.get(rendition).updateBitRate(bitsPerSecond);
    } catch (DeviceFailure e) {
      leaveDevice(e);
    }
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
    pushedPts = packet.pts();
    CodedHistory.Unit unit = new CodedHistory.Unit(source.config(), data, time, packet.key(), type);
    if (history != null) history.add(unit);
    try {
      decodeUnit(unit);
    } catch (DeviceFailure e) {
      leaveDevice(e);
    }
    counters.decoded(decodeNs);
    counters.damaged(damagedFrames());
  }

  private void decodeUnit(CodedHistory.Unit unit) throws HostException, IOException {
    byte[] data = unit.data();
    long startNs = System.nanoTime();
    long result = videoDecoderAddFrame(session, data, 0, data.length, unit.time(), unit.type());
    decodeNs = System.nanoTime() - startNs;
    boolean aborted = false;
    long concealedBefore = concealed;
    for (int idle = 0; idle < MAX_IDLE_STEPS; idle++) {
      if (decodeStep()) idle = 0;
      aborted |= (status.value & STATUS_ABORTED) != 0;
      if ((status.value & STATUS_INPUT_USED) != 0) break;
    }
    if (result != 0 || aborted) {
      if (isOurs(pushedPts)) refused++;
      concealed = concealedBefore;
    }
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
    if (isDamaged) concealed++;
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
    for (boolean done = false; !done; ) {
      try {
        if (configured) drainDecoder();
        while (!inScaler.isEmpty() && scaleAll(-1)) {}
        if (!inScaler.isEmpty()) throw owner.broken(inScaler.size() + " pictures did not come out of the scaler");
        counters.damaged(damagedFrames());
        collect();
        for (RenditionPath path : paths) path.flush();
        done = true;
      } catch (DeviceFailure e) {
        leaveDevice(e);
      }
    }
    int lost = paths.stream().mapToInt(RenditionPath::owed).sum();
    if (lost > 0) throw new HostException(settings.name() + ": " + lost + " pictures were lost with their device");
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
    configure(source.config());
  }

  private void configure(byte[] config) throws HostException {
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
    if (settings.capture() != null) {
      times = new TimecodeMap();
      captured = new CaptureInput(owner, settings.capture(), settings.source().frameRateOrDefault());
    } else {
      source = new VideoSource(settings.codec(), settings.config());
      times = new TimecodeMap(settings.codec().reorders(), settings.source().timeBase(), settings.source().frameRate());
    }
    if (settings.staysOnDevice()) owner.keepOnDevice();
    wireStages();
    try {
      openPaths();
    } catch (HostException e) {
      if (!owner.keepsOnDevice()) throw e;
      // What the card does not encode is to be read by another: all pictures then come through the host.
      settings.deviceListener().accept(new DeviceEvent("memory of " + owner.device(), -1, e.getMessage()));
      owner.keepInHost();
      resetPipeline(session);
      wireStages();
      openPaths();
    }
    targets = new long[paths.size()];
    check(videoScalerInitialize(session), SCALER_TROUBLE);
    if (decoder != DecoderBackend.SOFTWARE || !owner.device().isSoftware()) history = new CodedHistory();
    if (source != null && source.config() != null) configure();
    for (OverlaySpec spec : settings.overlays())
      overlays.put(overlays.size(), new LiveOverlay(spec, OverlayImage.load(spec.image())));
    placeOverlays();
  }

  private void openPaths() throws HostException {
    paths.clear();
    for (int i = 0; i < settings.renditions().size(); i++)
      paths.add(new RenditionPath(owner, settings, i, times));
  }

  /** Decoder, scaler and the decoder's pool; in software where the device does not do it. */
  private void wireStages() throws HostException {
    wireDecoder();
    check(videoScalerCreate(session, owner.fourcc(), BIT_DEPTH), SCALER_TROUBLE);
    String refusal = owner.device().isSoftware() ? null : wirePool(owner.device());
    if (refusal != null) {
      settings.deviceListener().accept(DeviceEvent.failed(owner.device(), -1, refusal));
      boolean elsewhere = owner.keepsOnDevice();
      owner.leaveDevice();
      if (elsewhere) wireDecoder();
    }
    if (owner.device().isSoftware()) wirePool(Device.SOFTWARE);
    check(videoDecoderSetFrameSizeLimits(session, MAX_FRAME_SIDE, MAX_FRAME_SIDE, 1, 1), SCALER_TROUBLE);
  }

  /** Why the device's memory cannot be had, null where it can. */
  private String wirePool(Device device) throws HostException {
    if (!device.isSoftware() && settings.source().orientation().scaleFlags() != 0) return "it does not turn pictures";
    if (device.kind().onePass && settings.onePassRefusal() != null) return settings.onePassRefusal();
    check(videoScalerSetImplementation(session, device.kind().scaler, device.isSoftware() ? -1 : device.number()), SCALER_TROUBLE);
    check(videoScalerSetFlags(session, scaleFlags()), SCALER_TROUBLE);
    owner.fetchLog();
    check(videoDecoderBuffersCreate(session, DECODER_FRAMES), settings.name() + ": no memory for decoded pictures");
    if (device.isSoftware()) return null;
    if (device.kind().onePass && !tellsSizes()) return EncoderSetup.reason(owner.fetchLog(), "its scaler takes no such sizes");
    check(videoScalerInitialize(session), SCALER_TROUBLE);
    List<SessionLog.Line> said = owner.fetchLog();
    if (said.stream().noneMatch(line -> line.text().contains("Initialize video scaler: " + device.kind().scalerName)))
      return "the session finds none here";
    return EncoderSetup.reason(said, null);
  }

  private boolean tellsSizes() {
    StreamInfo from = settings.source();
    double rate = from.frameRateOrDefault();
    if (videoScalerSetSource(session, from.width(), from.height(), rate) != 0) return false;
    boolean taken = true;
    for (int i = 0; i < settings.renditions().size(); i++) {
      RenditionSpec spec = settings.renditions().get(i);
      taken &= videoScalerAddScaling(session, spec.width(), spec.height(), rate, i, false) == 0;
    }
    return taken;
  }

  /** Gives a card up and goes on in software: what it held of pictures is decoded and encoded once more. */
  private void leaveDevice(DeviceFailure failure) throws HostException, IOException {
    Device left = owner.device();
    String what = left.isSoftware() ? "decoder " + decoder : "device " + left;
    settings.deviceListener().accept(new DeviceEvent(what, Math.max(decodedTo, -1), failure.getMessage()));
    known = history.pictures();
    List<CodedHistory.Unit> units = history.units();
    history = null;
    decoder = DecoderBackend.SOFTWARE;
    owner.leaveDevice();
    inScaler.clear();
    if (heldDecoderFrame >= 0) videoDecoderBufferRelease(session, heldDecoderFrame);
    heldDecoderFrame = -1;
    if (left.isSoftware()) {
      wireDecoder();
    } else {
      resetPipeline(session);
      wireStages();
      for (RenditionPath path : paths) path.leaveDevice(left, failure);
      check(videoScalerInitialize(session), SCALER_TROUBLE);
    }
    byte[] config = null;
    for (CodedHistory.Unit unit : units) {
      if (unit.config() != config) configure(unit.config());
      if (config == null && !left.isSoftware()) placeOverlays();
      config = unit.config();
      decodeUnit(unit);
    }
  }

  private long scaleFlags() {
    boolean placement = settings.renditions().stream().anyMatch(RenditionSpec::needsPlacement);
    long flags = SCALE_FLAG_PLUGIN_HALVES | (placement ? SCALE_FLAG_PLACE_ON_CPU : 0);
    // The plug-in's place counts an offset from the right or the bottom outwards, the converter's inwards.
    if (settings.overlays().stream().noneMatch(OverlaySpec::hangsFarWithOffset)) flags |= SCALE_FLAG_PLUGIN_OVERLAYS;
    return flags | settings.source().orientation().scaleFlags();
  }

  private void wireDecoder() throws HostException {
    if (captured != null) {
      captured.wire(BIT_DEPTH, owner.fourcc());
      return;
    }
    String refusal = decoder == DecoderBackend.SOFTWARE ? null : openDecoder();
    if (refusal != null) {
      settings.deviceListener().accept(new DeviceEvent("decoder " + decoder, -1, refusal));
      decoder = DecoderBackend.SOFTWARE;
      owner.keepInHost();
    }
    if (decoder != DecoderBackend.SOFTWARE) return;
    String why = openDecoder();
    if (why != null) throw owner.failure(settings.name() + ": no decoder for " + settings.codec().codecName);
  }

  /** Why it cannot be had, null where it stands. */
  private String openDecoder() throws HostException {
    VideoCodec codec = settings.codec();
    if (!decoder.takes(codec)) return "it does not take " + codec.codecName;
    owner.fetchLog();
    long made =
        videoDecoderCreate(
            session, 0, codec.id, codec.version, BIT_DEPTH, decoder.implementation(codec), owner.fourcc(), owner.context(""));
    boolean isChosen = owner.fetchLog().stream().anyMatch(line -> line.text().endsWith(": " + decoder.logName));
    if (made == 0 && !isChosen) return "the session finds none here";
    boolean set =
        made == 0
            && videoDecoderSetParameterValues(session, decoderParameters()) == 0
            && videoDecoderApplyParameters(session) == 0
            && videoDecoderSetGPUID(session, decoder == DecoderBackend.SOFTWARE ? -1 : settings.device().number()) == 0
            && videoDecoderInitialize(session) == 0;
    return set ? null : EncoderSetup.reason(owner.fetchLog(), "it could not be set up");
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
    for (Map.Entry<Integer, LiveOverlay> each : overlays.entrySet()) place(each.getKey(), each.getValue());
  }

  private void place(int slot, LiveOverlay overlay) throws HostException {
    OverlaySpec spec = overlay.spec;
    if (spec.rendition() != OverlaySpec.ON_DECODER) {
      paths.get(spec.rendition()).setOverlay(slot, spec, overlay.image);
      return;
    }
    StreamInfo upright = settings.source().upright();
    TranscoderNativeVideoFrame frame =
        overlay.image.placedOnCoded(
            spec, upright.width(), upright.height(), settings.source().orientation(), owner.device());
    check(videoDecoderBufferSetOverlayVideoFrame(session, slot, frame), spec.image() + ": refused as an overlay");
  }

  /** Lays a picture over what follows, in place of what the slot had; the settings' own have the slots from 0 on. */
  public void setOverlay(int slot, OverlaySpec spec, BufferedImage picture) throws HostException {
    removeOverlay(slot);
    // Where the pictures' converter changes, so does how it counts an offset from the right: this one counts from the left.
    boolean onDecoder = spec.rendition() == OverlaySpec.ON_DECODER;
    StreamInfo upright = settings.source().upright();
    int width = onDecoder ? upright.width() : settings.renditions().get(spec.rendition()).width();
    int height = onDecoder ? upright.height() : settings.renditions().get(spec.rendition()).height();
    OverlayImage image = OverlayImage.of(picture);
    OverlayPlacement placement = new OverlayPlacement(spec, image.width(), image.height(), width, height);
    Orientation.Area area = placement.area(width, height);
    OverlaySpec placed =
        new OverlaySpec(
            spec.image(), Align.TOP_LEFT, area.x(), area.y(), area.width(), area.height(), spec.rendition());
    LiveOverlay overlay = new LiveOverlay(placed, image);
    place(slot, overlay);
    overlays.put(slot, overlay);
  }

  /** Takes a picture away; harmless where the slot is empty. */
  public void removeOverlay(int slot) throws HostException {
    LiveOverlay gone = overlays.remove(slot);
    if (gone == null) return;
    int rendition = gone.spec.rendition();
    long result =
        rendition == OverlaySpec.ON_DECODER
            ? videoDecoderBufferSetOverlayVideoFrame(session, slot, null)
            : videoEncoderBufferSetOverlayVideoFrame(session, rendition, slot, null);
    check(result, "overlay " + slot + " could not be taken away");
  }

  /** One step of the decoder; true when it left a picture in the frame that is held. */
  private boolean step() throws HostException, IOException {
    if (heldDecoderFrame < 0) heldDecoderFrame = allocateDecoderFrame();
    frameInfo.timcodeInfo.clear();
    frameInfo.ancillaryData.clear();
    long startNs = System.nanoTime();
    long result = videoDecoderDecode(session, heldDecoderFrame, status, timecode, frameInfo);
    decodeNs += System.nanoTime() - startNs;
    if (result != 0) throw notDecoded();
    isDamaged = (status.value & STATUS_DAMAGED) != 0;
    boolean came = (status.value & STATUS_FRAME) != 0 && (status.value & STATUS_INCOMPLETE) == 0;
    if (isDamaged && !came && isOurs(pushedPts)) concealed++;
    return came;
  }

  /** The same all the way into the encoders. */
  private boolean decodeStep() throws HostException, IOException {
    if (!step()) return false;
    long index = heldDecoderFrame;
    boolean isNew;
    try {
      List<Long> shown = known.isEmpty() ? null : known.remove(timecode.value);
      isNew = shown == null;
      if (isNew) shown = timesOf(timecode.value);
      // Pictures of a neighbour are decoded where ours are made from them, or they from ours.
      if (isNew && settings.excerpt() != null && !isOurs(times.ptsOf(deliveredTime))) return true;
      if (isDamaged) concealed++;
      if (isNew && history != null) history.delivered(timecode.value, shown);
      for (int i = 0; i < shown.size(); i++) {
        if (i > 0) check(videoDecoderGetFrame(session, index, timecode), "the second field could not be fetched");
        deliver(index, shown.get(i), false);
      }
      if (isNew) frames += Math.max(shown.size() - 1, 0);
    } finally {
      heldDecoderFrame = -1;
      videoDecoderBufferRelease(session, index);
    }
    if (isNew) countPicture();
    return true;
  }

  private void countPicture() {
    counters.pictures(++frames);
    if (frames % LOG_FETCH_INTERVAL_FRAMES != 0) return;
    owner.fetchLog();
    counters.summarize();
  }

  private boolean isOurs(long pts) {
    return settings.excerpt() == null || settings.excerpt().holds(pts);
  }

  private HostException notDecoded() {
    String what = settings.name() + ": its " + settings.source().codecName() + " pictures could not be decoded";
    HostException failure = owner.failure(what);
    return decoder == DecoderBackend.SOFTWARE ? failure : new DeviceFailure(EncoderFault.ERROR, failure.getMessage());
  }

  /** When a picture is shown, none where it is not; the second time is of its second field. */
  private List<Long> timesOf(long carried) throws HostException {
    boolean hidden = times.isHidden(carried);
    long time = times.delivered(carried);
    deliveredTime = time;
    if (hidden) return List.of();
    if (settings.deinterlace() != Deinterlace.DOUBLE || !settings.codec().deinterlaces()) return List.of(time);
    double rate = frameInfo.frameRate > 0 ? frameInfo.frameRate : settings.source().frameRateOrDefault();
    return List.of(time, times.deliveredAfter(0.5 / rate));
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
    if (firstTime == Long.MIN_VALUE) firstTime = settings.excerpt() == null ? time : settings.excerpt().firstMs();
    if (owner.device().kind().onePass) {
      if (time > decodedTo) owner.output().decoded(time, (int) frameInfo.displayWidth, (int) frameInfo.displayHeight);
      decodedTo = Math.max(decodedTo, time);
      inScaler.add(time);
      scaleAll(decoderFrame);
      return;
    }
    try {
      for (int i = 0; i < targets.length; i++) targets[i] = paths.get(i).takeTarget(time);
      if (videoDecoderTransferFrameStart(session, decoderFrame, targets) != 0)
        throw owner.broken("a picture could not be delivered");
      if (time > decodedTo) owner.output().decoded(time, (int) frameInfo.displayWidth, (int) frameInfo.displayHeight);
      decodedTo = Math.max(decodedTo, time);
      for (RenditionPath path : paths) path.scaleFrom(decoderFrame, time);
      // The smallest rendition is done first, so it is asked first and gets its next picture while others work.
      for (int i = paths.size() - 1; i >= 0; i--) paths.get(i).encode(time, firstTime, key);
      for (RenditionPath path : paths) path.showPreview(time);
    } finally {
      for (RenditionPath path : paths) path.releaseTarget();
    }
  }

  /** Gives a picture to the scaler of all renditions, none for -1; false where nothing came out of it. */
  private boolean scaleAll(long decoderFrame) throws HostException, IOException {
    try {
      for (int i = 0; i < targets.length; i++) targets[i] = paths.get(i).takeAnyTarget();
      long startNs = System.nanoTime();
      long result = videoScalerScaleFrame(session, decoderFrame, targets, targets.length, scaled);
      long ns = (System.nanoTime() - startNs) / Math.max(targets.length, 1);
      if (decoderFrame >= 0) videoScalerFreeFrame(session, decoderFrame);
      if (result != 0 || (scaled.value & SCALED_NOTHING) != 0) throw owner.broken("a picture could not be scaled");
      if ((scaled.value & SCALED) == 0) return false;
      long time = inScaler.remove();
      for (RenditionPath path : paths) path.scaled(time, ns);
      for (int i = paths.size() - 1; i >= 0; i--) paths.get(i).encode(time, firstTime, false);
      for (RenditionPath path : paths) path.showPreview(time);
      return true;
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
