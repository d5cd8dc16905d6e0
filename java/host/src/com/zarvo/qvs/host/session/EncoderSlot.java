package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.bitstream.StreamProfile;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.TreeMap;

/**
 * The encoder of a rendition in its slot of the native session. Where the policy names more than the library's own
 * software, the pictures that it took stay in their pool until they are answered; when it fails they go to the next of
 * the list, the first of them as a key picture.
 */
final class EncoderSlot {
  private static final long FRAME_KEY = 1;
  private static final long FRAME_INTER = 2;
  private static final int POOL_FRAMES = 3;
  // What encoders may hold back by themselves, beside B pictures.
  private static final int DELAYED_FRAMES = 12;

  /** Where packets go. */
  interface Sink {
    void packet(TranscoderPacket packet) throws HostException, IOException;
  }

  private final NativeSession owner;
  private final EncoderPolicy policy;
  private final RenditionSpec spec;
  private final int index;
  private final Sink sink;
  private final RungCounters counters;
  private final EncoderList list;
  private final EncoderSetup setup;
  private final boolean asynchronous;
  private final boolean replaceable;
  private final PendingPictures pending;
  /** Pictures that went with a device, by their times; true where a key picture was asked for. */
  private final TreeMap<Long, Boolean> owed = new TreeMap<>();
  private final List<TranscoderPacket> packets = new ArrayList<>();
  private int place = -1;
  private int endToldTo = -1;
  private boolean answered;
  private boolean keyIsDue;
  private long bitRate;
  private long calledNs;
  private long lastTime = -1;
  private List<byte[]> sets;
  private EncoderEvent seam;
  private long seamNs;

  EncoderSlot(NativeSession owner, SessionSettings settings, int index, Sink sink) throws HostException {
    this.owner = owner;
    this.policy = settings.encoderPolicy();
    this.spec = settings.renditions().get(index);
    this.index = index;
    this.sink = sink;
    this.counters = owner.counters().rungs().get(index);
    this.list = settings.encoders(spec);
    this.asynchronous = settings.parallel();
    this.replaceable = !list.isSoftwareAlone() || !owner.device().isSoftware();
    this.bitRate = spec.bitRate();
    int heldBack =
        DELAYED_FRAMES + spec.tuning().bFramesOf(spec.codec()) + spec.tuning().lookAhead(spec.codec())
            + EncoderSettings.threads(settings, index);
    // One in work and one that is being made, beside those that wait.
    int atHand = Math.max(POOL_FRAMES, 2 + EncoderSettings.queued(spec.codec(), spec.tuning()));
    int poolFrames = atHand + (replaceable ? heldBack : 0);
    this.pending = new PendingPictures(poolFrames);
    this.setup = new EncoderSetup(owner, settings, index, poolFrames);
    openNext("");
  }

  /** The one in the slot; the last of the list where that came to its end. */
  EncoderBackend encoder() {
    return list.backends().get(Math.min(place, list.backends().size() - 1));
  }

  /** Hands a picture of the pool over; the caller may let go of it. */
  void add(long target, long time, boolean key) throws HostException, IOException {
    boolean asKey = key || keyIsDue;
    keyIsDue = false;
    lastTime = time;
    if (replaceable) {
      owner.check(videoEncoderBufferAcquire(owner.handle(), index, target), "a picture could not be held");
      pending.add(target, time, asKey);
    }
    if (submit(target, time, asKey)) return;
    if (!replaceable) throw failure(time, "was refused by its encoder");
    recover(reason());
  }

  // The picture's number goes before the pool's: the native order.
  private boolean submit(long target, long time, boolean key) {
    calledNs = System.nanoTime();
    long result = videoEncoderAddFrame(owner.handle(), index, target, index, key ? FRAME_KEY : FRAME_INTER, time);
    counters.inEncoder(System.nanoTime() - calledNs);
    return result == 0;
  }

  /** Passes on what the encoder has ready. */
  void collect() throws HostException, IOException {
    while (!fetch()) {
      if (!replaceable)
        throw owner.failure(owner.name() + ": coded pictures of " + spec.sizeText() + " could not be fetched");
      recover(reason());
    }
    int ready = replaceable ? pending.ready() : 0;
    if (ready == 0) return;
    for (TranscoderPacket packet : pending.held()) passOn(packet);
    for (int i = 0; i < ready; i++) videoEncoderBufferRelease(owner.handle(), index, pending.target(i));
    pending.removeReady(ready);
  }

  private boolean fetch() throws HostException, IOException {
    long startNs = System.nanoTime();
    boolean good = videoEncoderGetEncodedFrames(owner.handle(), index, packets) == 0;
    counters.inEncoder(System.nanoTime() - startNs);
    for (TranscoderPacket packet : packets) {
      if (!replaceable) passOn(packet);
      else good &= pending.answer(packet);
    }
    packets.clear();
    return good;
  }

  private void passOn(TranscoderPacket packet) throws HostException, IOException {
    if (!answered) firstPacket(packet);
    answered = true;
    sink.packet(packet);
  }

  private void firstPacket(TranscoderPacket packet) throws HostException, IOException {
    if (!replaceable) return;
    boolean hevc = spec.codec() == VideoCodec.H265;
    List<byte[]> before = sets;
    ParameterSets found = new ParameterSets(hevc);
    if (spec.codec().hasUnits())
      found.update(NalUnits.ofLengths(packet.buffer, packet.offset, (int) packet.len, NalUnits.LENGTH_BYTES));
    sets = found.all();
    if (seam == null) return;
    ParameterSetChange change = ParameterSetChange.between(hevc, before, sets);
    EncoderEvent applied = seam.applied(encoder(), (System.nanoTime() - seamNs) / 1e6, change);
    seam = null;
    counters.replaced(applied);
    policy.tell(applied);
    owner.output().encoderReplaced(index, applied);
  }

  /** All pictures of the pool are taken: true when another encoder gave some back. */
  boolean stalled() throws HostException, IOException {
    if (!replaceable || pending.count() == 0) return false;
    recover(EncoderFault.STALL, "it holds " + pending.count() + " pictures and gives none back");
    collect();
    return true;
  }

  /** Ends the stream: asks the encoder for what it holds back. */
  void end() throws HostException {
    endToldTo = place;
    TranscoderNativeParameterValue[] end = EncoderKeys.endOfStream(encoder(), spec);
    String what = owner.name() + ": the encoder of " + spec.sizeText() + " could not be told the end";
    if (end.length > 0) owner.check(videoEncoderSetParameterValues(owner.handle(), index, end), what);
  }

  /** Waits for all that it held back at the end. */
  void flush() throws HostException, IOException {
    for (int used = -1; ; ) {
      if (used == place) recover(EncoderFault.STALL, "at the end it keeps " + pending.count() + " pictures");
      used = place;
      if (endToldTo != place) end();
      collect();
      if (pending.count() == 0) return;
    }
  }

  void updateBitRate(long bitsPerSecond) throws HostException, IOException {
    bitRate = bitsPerSecond;
    calledNs = System.nanoTime();
    if (videoEncoderUpdateBitrate(owner.handle(), index, bitsPerSecond) == 0) return;
    if (!replaceable) throw owner.failure("the bit rate could not be changed");
    recover(reason());
  }

  private void recover(String why) throws HostException, IOException {
    recover(EncoderFault.of(why), why);
  }

  /** Puts the next encoder of the list into the slot and gives it what the failed one left unanswered. */
  private void recover(EncoderFault fault, String why) throws HostException, IOException {
    // Its pictures lie on the device, and may not be readable any more.
    if (!owner.device().isSoftware()) throw new DeviceFailure(fault, why);
    if (seam == null) seamNs = calledNs;
    for (boolean good = false; !good; ) {
      pending.forgetAnswers();
      fall(fault, why);
      good = true;
      for (int i = 0; good && i < pending.count(); i++)
        good = submit(pending.target(i), pending.time(i), i == 0 || pending.isKey(i));
      if (good) break;
      why = reason();
      fault = EncoderFault.of(why);
    }
    keyIsDue = pending.count() == 0;
  }

  /** Slot and pool went with the device: the same encoder, or the next that is not of that device, begins anew. */
  void leaveDevice(Device left, DeviceFailure failure) throws HostException {
    if (seam == null) seamNs = System.nanoTime();
    pending.forgetAnswers();
    for (int i = 0; i < pending.count(); i++) owed.put(pending.time(i), pending.isKey(i));
    pending.clear();
    setup.forget();
    endToldTo = -1;
    keyIsDue = true;
    if (left.hosts(encoder())) {
      fall(failure.fault(), failure.getMessage());
    } else {
      place--;
      openNext("");
    }
  }

  /** True for a picture that is to be given once more. */
  boolean owes(long time) {
    return owed.containsKey(time);
  }

  /** How many of these are still to come. */
  int owed() {
    return owed.size();
  }

  void addAgain(long target, long time) throws HostException, IOException {
    add(target, time, owed.remove(time));
  }

  private void fall(EncoderFault fault, String why) throws HostException {
    EncoderBackend failed = encoder();
    policy.cards().failed(failed, fault, why, policy.maxFailures());
    if (!answered) {
      policy.tell(EncoderEvent.refused(index, spec, failed, fault, why));
    } else {
      int again = pending.count() + owed.size();
      long time = pending.count() > 0 ? pending.time(0) : owed.isEmpty() ? lastTime : owed.firstKey();
      EncoderBackend next = place + 1 < list.backends().size() ? list.backends().get(place + 1) : null;
      seam = EncoderEvent.asked(index, spec, time, failed, next, fault, why, again);
      policy.tell(seam);
    }
    openNext("; " + failed + " " + fault.text + ": " + why);
  }

  /** Takes the first of the list behind the present one that stands; `before` tells what led here. */
  private void openNext(String before) throws HostException {
    StreamProfile kept = sets == null ? null : StreamProfile.of(spec.codec() == VideoCodec.H265, sets);
    StringBuilder refusals = new StringBuilder(before);
    answered = false;
    while (++place < list.backends().size()) {
      EncoderBackend backend = encoder();
      String quarantine = policy.cards().quarantine(backend);
      EncoderSetup.Refusal refusal =
          quarantine != null
              ? new EncoderSetup.Refusal(EncoderFault.QUARANTINED, quarantine)
              : setup.open(backend, bitRate, kept);
      if (refusal == null) return;
      // One that does not open may have reached its limit of sessions, and serves others well.
      if (refusal.fault() == EncoderFault.HANG)
        policy.cards().failed(backend, refusal.fault(), refusal.why(), policy.maxFailures());
      policy.tell(EncoderEvent.refused(index, spec, backend, refusal.fault(), refusal.why()));
      refusals.append("; ").append(backend).append(' ').append(refusal.fault().text).append(": ").append(refusal.why());
    }
    String what = owner.name() + ": no encoder for " + spec.codec().codecName + " " + spec.sizeText() + " of " + list;
    throw new HostException(what + refusals);
  }

  private String reason() {
    return EncoderSetup.reason(owner.fetchLog(), "a call was answered with a failure");
  }

  /** What to throw when a picture came to nothing. */
  HostException notScaled(long time) {
    return owner.broken(lost(time, "could not be scaled"));
  }

  private HostException failure(long time, String what) {
    return owner.failure(lost(time, what));
  }

  private String lost(long time, String what) {
    String text = "%s: its picture at %.3f s, for %s in %s, %s";
    return String.format(
        Locale.ROOT, text, owner.name(), time / 1000.0, spec.sizeText(), spec.codec().codecName, what);
  }
}
