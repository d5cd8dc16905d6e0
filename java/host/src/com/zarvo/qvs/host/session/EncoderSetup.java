package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.bitstream.StreamProfile;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import java.util.List;

/** Opens one encoder after another in the slot of a rendition; with the first of them, the pool of its pictures. */
final class EncoderSetup {
  private static final long BIT_DEPTH = 8;
  private static final String CREATED = "Create video encoder: ";
  private static final String NOT_LOADED = "Loading shared library FAILED";

  /** Why an encoder is not taken. */
  record Refusal(EncoderFault fault, String why) {}

  private final NativeSession owner;
  private final SessionSettings settings;
  private final RenditionSpec spec;
  private final int index;
  private final int poolFrames;
  private boolean slotMade;
  private boolean poolMade;

  EncoderSetup(NativeSession owner, SessionSettings settings, int index, int poolFrames) {
    this.owner = owner;
    this.settings = settings;
    this.spec = settings.renditions().get(index);
    this.index = index;
    this.poolFrames = poolFrames;
  }

  /**
   * Puts an encoder into the slot, in place of the one that is there.
   *
   * @param kept the profile and level of the stream so far, null at its start
   * @return why it cannot be had, null when it stands
   */
  Refusal open(EncoderBackend backend, long bitRate, StreamProfile kept) throws HostException {
    if (owner.keepsOnDevice() && !owner.device().hosts(backend)) return absent("it cannot read what stays on the card");
    if (!backend.makes(spec.codec())) return absent("it makes no " + spec.codec().codecName);
    owner.fetchLog();
    TranscoderNativeLong number = new TranscoderNativeLong();
    number.value = slotMade ? index : -1;
    long result =
        videoEncoderAdd(
            owner.handle(), spec.codec().id, spec.codec().version, BIT_DEPTH, owner.fourcc(),
            backend.implementation(spec.codec()), owner.context(spec.sizeText()), number);
    slotMade |= number.value == index;
    List<SessionLog.Line> said = owner.fetchLog();
    String early = reason(said, "the session has none");
    if (EncoderFault.of(early) == EncoderFault.HANG) return new Refusal(EncoderFault.HANG, early);
    if (result != 0 || number.value != index) return absent(early);
    String chosen = textBehind(said, CREATED);
    // Where a back end is not to be had the session takes its default without a word.
    if (!chosen.endsWith(": " + backend.logName)) return absent("the session finds none here");
    String notLoaded = textBehind(said, NOT_LOADED);
    if (!notLoaded.isEmpty()) return absent("its library cannot be loaded" + notLoaded);
    boolean set = isSet(bitRate, backend, kept) && hasPool();
    said = owner.fetchLog();
    if (set) {
      set = videoEncoderInitialize(owner.handle(), index) == 0;
      said = owner.fetchLog();
    }
    // Of a plug-in that does not open only the log tells.
    if (set && !(backend.isPlugin(spec.codec()) && said.stream().anyMatch(SessionLog.Line::isTrouble))) return null;
    String why = reason(said, "its settings are refused");
    return new Refusal(EncoderFault.of(why), why);
  }

  /** Slot and pool are no more: the next encoder makes both anew. */
  void forget() {
    slotMade = false;
    poolMade = false;
  }

  private static Refusal absent(String why) {
    return new Refusal(EncoderFault.UNAVAILABLE, why);
  }

  private boolean isSet(long bitRate, EncoderBackend backend, StreamProfile kept) {
    long session = owner.handle();
    TranscoderNativeParameterValue[] parameters = EncoderKeys.of(backend, settings, index, bitRate, kept);
    return videoEncoderSetDefaults(session, index, 0, 0) == 0
        && videoEncoderSetFrameSize(session, index, spec.width(), spec.height()) == 0
        && videoEncoderSetFrameRate(session, index, frameRate()) == 0
        && videoEncoderSetBitrate(session, index, bitRate) == 0
        && videoEncoderSetFrameIndex(session, index, index) == 0
        && videoEncoderSetKeyFrameFollow(session, index, 1) == 0
        && videoEncoderSetGPUID(session, index, owner.device().hosts(backend) ? owner.device().number() : -1) == 0
        && videoEncoderSetParameterValues(session, index, parameters) == 0
        && videoEncoderApplyParameters(session, index) == 0;
  }

  // The pool outlives its first encoder: pictures that this one failed on go to the next.
  private boolean hasPool() {
    if (poolMade) return true;
    long session = owner.handle();
    TranscoderNativeLong number = new TranscoderNativeLong();
    poolMade =
        videoEncoderBufferSetsCreate(session, poolFrames) == 0
            && videoEncoderBufferSetAlloc(session, number) == 0
            && videoEncoderBufferAdd(
                    session, spec.width(), spec.height(), spec.fit().code, owner.fourcc(), 0, number.value)
                == 0;
    if (spec.crop() != null) videoEncoderBufferSetCrop(session, index, spec.crop());
    if (spec.padding() != null) videoEncoderBufferSetPadding(session, index, spec.padding());
    return poolMade;
  }

  private static String textBehind(List<SessionLog.Line> lines, String mark) {
    for (int i = lines.size() - 1; i >= 0; i--) {
      int at = lines.get(i).text().indexOf(mark);
      if (at >= 0) return lines.get(i).text().substring(at + mark.length());
    }
    return "";
  }

  /** What the newest lines say of a failure: an encoder's own words before the session's. */
  static String reason(List<SessionLog.Line> lines, String otherwise) {
    String found = null;
    for (SessionLog.Line line : lines) {
      if (!line.isTrouble()) continue;
      boolean own = line.text().startsWith("VideoEncoder");
      if (found == null || own || !found.startsWith("VideoEncoder")) found = line.text();
    }
    return found == null ? otherwise : found;
  }

  private double frameRate() {
    boolean doubled = settings.deinterlace() == Deinterlace.DOUBLE && settings.codec().deinterlaces();
    double source = settings.source().frameRateOrDefault() * (doubled ? 2 : 1);
    return spec.frameRate() > 0 ? Math.min(spec.frameRate(), source) : source;
  }
}
