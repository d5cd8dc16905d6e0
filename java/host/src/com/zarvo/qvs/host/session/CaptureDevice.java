package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAncillaryDataFilter;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceAudioLevelDataAllChannel;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceRenditionInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceSessionInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceStateInfo;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceVideoCaptureParams;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.util.ArrayList;
import java.util.List;

/** A capture device of the process. */
public final class CaptureDevice {
  private static final long RUN = 1;
  private static final int RUNS_ALREADY = 2;
  private static final int FILTER_LISTED = 2;
  private static final int KEY_DEINTERLACE_MODE = 130117;
  private static final long DEINTERLACED = 0;
  private static final long AS_THEY_COME = 2;
  private static final int CARD = 1;
  private static final String CODEC = "captured";
  private static final String SAMPLES = "pcm_s16le";
  private static final Rational MILLISECOND = new Rational(1, 1000);
  private static final double LOWEST_USUAL_RATE = 24;

  private final int id;
  private final TranscoderCaptureDeviceInfo info = new TranscoderCaptureDeviceInfo();
  private final TranscoderCaptureDeviceSessionInfo figures = new TranscoderCaptureDeviceSessionInfo();

  CaptureDevice(int id) throws HostException {
    this.id = id;
    if (captureDeviceGetInfo(id, info) != 0) throw new HostException("capture device " + id + " cannot be asked");
  }

  public int id() {
    return id;
  }

  public String name() {
    return info.displayName;
  }

  public String model() {
    return info.modelName;
  }

  /** Its modes, by name. */
  public List<String> modes() {
    return info.renditions.stream().map(mode -> mode.name).toList();
  }

  /**
   * Before {@link #start}: what comes in. Without a mode a device that can finds it by itself, and follows its changes.
   *
   * @param mode one of {@link #modes}, null for the device to find
   */
  public void expect(String mode) throws HostException {
    TranscoderCaptureDeviceVideoCaptureParams wanted = new TranscoderCaptureDeviceVideoCaptureParams();
    wanted.enable = true;
    wanted.frameRateDivisor = 1;
    wanted.autoDetectInputSource = mode == null && info.inputFormatDetection ? 1 : 0;
    wanted.renditionIndex = mode == null ? -1 : modes().indexOf(mode);
    if (mode != null && wanted.renditionIndex < 0)
      throw new HostException(name() + ": has no mode '" + mode + "'; there are: " + String.join(", ", modes()));
    captureDeviceSetVideoCaptureParams(id, wanted);
  }

  /** Before {@link #start}: whether a card makes whole pictures of fields. File devices have none. */
  public void deinterlace(boolean wanted) throws HostException {
    if (info.implementation != CARD) return;
    TranscoderNativeLong session = new TranscoderNativeLong();
    boolean set = captureDeviceStartSessionParameterValues(id, session) == 0;
    if (set) {
      long mode = wanted ? DEINTERLACED : AS_THEY_COME;
      set =
          captureDeviceSetParameterValues(
                  id, session.value, new NativeParameters().set(KEY_DEINTERLACE_MODE, mode).toArray())
              == 0;
      captureDeviceEndSessionParameterValues(id, session.value);
    }
    // Unasked it deinterlaces.
    if (!set && !wanted) throw new HostException(name() + ": its pictures cannot be left interlaced");
  }

  /** True when it ran already: somebody else's run, that is not ours to end. */
  public boolean start() throws HostException {
    int status = setState(RUN);
    if (status != 0 && status != RUNS_ALREADY) throw new HostException(name() + ": cannot be started, status " + status);
    return status == RUNS_ALREADY;
  }

  /** The same where a failure is no news; true when it runs now. */
  boolean tryStart() {
    int status = setState(RUN);
    return status == 0 || status == RUNS_ALREADY;
  }

  public void stop() {
    setState(0);
  }

  private int setState(long state) {
    TranscoderCaptureDeviceStateInfo wanted = new TranscoderCaptureDeviceStateInfo();
    wanted.state = state;
    return captureDeviceSetActiveState(id, wanted) == 0 ? wanted.status : -1;
  }

  /** Before {@link #start}: packets of this kind come with the pictures, beside those asked for before. */
  public void wantAncillaryData(int did, int sid) {
    TranscoderCaptureDeviceAncillaryDataFilter filter = new TranscoderCaptureDeviceAncillaryDataFilter();
    filter.filterType = FILTER_LISTED;
    filter.did = did;
    filter.sid = sid;
    captureDeviceAddAncillaryDataFilter(id, filter);
  }

  /**
   * Its pictures as they come now, or as its first mode has them; null where it has none. The unit of times is a
   * millisecond, as the native side has it.
   */
  public StreamInfo pictures() {
    TranscoderCaptureDeviceSessionInfo now = figures();
    TranscoderCaptureDeviceRenditionInfo mode = info.renditions.isEmpty() ? null : info.renditions.get(0);
    boolean told = now.videoFrameWidth > 0 && now.videoFrameHeight > 0 && now.videoFrameRateDen > 0;
    if (!told && (mode == null || mode.videoFrameWidth == 0)) return null;
    int width = told ? now.videoFrameWidth : mode.videoFrameWidth;
    int height = told ? now.videoFrameHeight : mode.videoFrameHeight;
    int perSecond = told ? now.videoFrameRateEnum : mode.videoFrameRateEnum;
    int period = told ? now.videoFrameRateDen * Math.max(1, now.videoFrameRateDivisor) : mode.videoFrameRateDen;
    return new StreamInfo(
        CODEC, "", width, height, new Rational(perSecond, Math.max(1, period)), MILLISECOND, -1, new Rational(1, 1), 0,
        Colors.usual(height), DisplayMatrix.AS_CODED);
  }

  /** Its sound as samples; null where it has none. */
  public AudioStreamInfo sound() {
    TranscoderCaptureDeviceSessionInfo now = figures();
    if (now.audioEnable == 0 || now.audioSampleRate <= 0) return null;
    // Of a card's channels two are taken.
    int channels = info.implementation == CARD ? 2 : now.audioChannels;
    return new AudioStreamInfo(
        1, "", SAMPLES, now.audioSampleRate, channels, new Rational(1, now.audioSampleRate), -1, new byte[0],
        AudioStreamInfo.Coding.UNKNOWN);
  }

  /** Samples of the longest block of sound that it gives at a time. */
  long mostBlockSamples() {
    StreamInfo pictures = pictures();
    double perBlock = pictures == null ? 1 : pictures.frameRateOrDefault();
    return (long) Math.ceil(2 * figures().audioSampleRate / Math.min(perBlock, LOWEST_USUAL_RATE));
  }

  /** Its figures as of now; the object is the device's own and valid until the next call. */
  public TranscoderCaptureDeviceSessionInfo figures() {
    captureDeviceGetSessionInfo(id, figures);
    return figures;
  }

  /** Peaks of all channels in the last block of sound, 0 to 32768. */
  public int[] peaks() {
    List<TranscoderCaptureDeviceAudioLevelDataAllChannel> levels = new ArrayList<>();
    captureDeviceGetAudioAllLevelDataLast(id, levels);
    return levels.stream().mapToInt(level -> level.peak).toArray();
  }

  /** The newest picture as BGRA; null where there is none yet. */
  public TranscoderNativeVideoFrame picture() {
    TranscoderNativeVideoFrame picture = new TranscoderNativeVideoFrame();
    return captureDeviceGetVideoFrame(id, picture) == 0 && picture.bytes != null ? picture : null;
  }

  @Override
  public String toString() {
    return name();
  }
}
