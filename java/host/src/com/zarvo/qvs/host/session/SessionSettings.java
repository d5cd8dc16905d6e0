package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.FitMode;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import java.util.List;
import java.util.function.Consumer;

/** What a session is to do: nothing but decode, until renditions are named. */
public final class SessionSettings {
  private static final int MAX_ONE_PASS = 8;

  private final String name;
  private VideoCodec codec;
  private StreamInfo source;
  private byte[] config;
  private Deinterlace deinterlace = Deinterlace.OFF;
  private List<RenditionSpec> renditions = List.of();
  private List<OverlaySpec> overlays = List.of();
  private boolean parallel;
  private double keyFrameSeconds = 2;
  private AudioSettings audio;
  private EncoderPolicy encoderPolicy = EncoderPolicy.SOFTWARE;
  private int previewWidth;
  private Device device = Device.SOFTWARE;
  private DecoderBackend decoder;
  private Consumer<DeviceEvent> deviceListener = event -> {};
  private CaptureSettings capture;
  private Excerpt excerpt;
  private Consumer<SessionLog.Line> logListener = line -> {};

  private SessionSettings(String name) {
    this.name = name;
  }

  /** `name` of the stream, for the log. */
  public static Builder of(String name) {
    return new Builder(new SessionSettings(name));
  }

  public String name() {
    return name;
  }

  /** Of the pictures; null leaves pictures out. */
  public VideoCodec codec() {
    return codec;
  }

  /** The stream of pictures. */
  public StreamInfo source() {
    return source;
  }

  /** Codec configuration of the pictures as the container keeps it. */
  public byte[] config() {
    return config;
  }

  public Deinterlace deinterlace() {
    return deinterlace;
  }

  public List<RenditionSpec> renditions() {
    return renditions;
  }

  public List<OverlaySpec> overlays() {
    return overlays;
  }

  /** True to let the encoders of one session work side by side. */
  public boolean parallel() {
    return parallel;
  }

  /** Longest time from key frame to key frame. */
  public double keyFrameSeconds() {
    return keyFrameSeconds;
  }

  /** Null leaves sound out. */
  public AudioSettings audio() {
    return audio;
  }

  /** Which encoders there may be, and what becomes of one that fails. */
  public EncoderPolicy encoderPolicy() {
    return encoderPolicy;
  }

  /** The device that pictures and sound come from; null where packets are pushed. */
  public CaptureSettings capture() {
    return capture;
  }

  /** Width in pixels of the pictures that SessionOutput is given. */
  public int previewWidth() {
    return previewWidth;
  }

  /** Where pictures are decoded, scaled and drawn on. */
  public Device device() {
    return device;
  }

  /** What decodes; the device's unless told otherwise. */
  public DecoderBackend decoder() {
    return decoder != null ? decoder : device.kind().decoder;
  }

  /** The encoders that a rendition may have. */
  EncoderList encoders(RenditionSpec spec) {
    return spec.encoders() != null ? spec.encoders() : encoderPolicy.encoders();
  }

  /** True where pictures may stay on the device from decoder to encoder: nobody else looks at them there. */
  boolean staysOnDevice() {
    return device.kind().onePass
        && decoder() == device.kind().decoder
        && decoder().takes(codec)
        && previewWidth == 0
        && renditions.stream().allMatch(spec -> device.hosts(encoders(spec).backends().get(0)));
  }

  /** Why a device that makes all renditions in one pass cannot make these; null where it can. */
  String onePassRefusal() {
    if (!overlays.isEmpty()) return "it draws no overlays";
    if (deinterlace == Deinterlace.DOUBLE) return "it makes no picture of each field";
    if (renditions.size() > MAX_ONE_PASS) return "it makes at most " + MAX_ONE_PASS + " renditions";
    boolean plain = renditions.stream().allMatch(spec -> spec.fit() == FitMode.STRETCH && !spec.needsPlacement());
    return plain ? null : "it only stretches pictures: fit=stretch";
  }

  /** Is told, on the session's thread, where device or decoder are not what was asked for. */
  public Consumer<DeviceEvent> deviceListener() {
    return deviceListener;
  }

  /** Is given each line of the log, on the session's thread, when the session comes to fetch it. */
  public Consumer<SessionLog.Line> logListener() {
    return logListener;
  }

  /** Null where the whole source is made. */
  public Excerpt excerpt() {
    return excerpt;
  }

  /** Sets by name what is to be other than usual. Used once. */
  public static final class Builder {
    private final SessionSettings made;

    private Builder(SessionSettings made) {
      this.made = made;
    }

    /** The stream of pictures of a reader; refuses one that a session cannot take. */
    public Builder video(MediaReader reader) throws HostException {
      return video(VideoSource.codecOf(reader.path(), reader.video()), reader.video(), reader.videoConfig());
    }

    /** A stream of pictures; `config` as containers keep it, may be empty. */
    public Builder video(VideoCodec codec, StreamInfo source, byte[] config) {
      made.codec = codec;
      made.source = source;
      made.config = config;
      return this;
    }

    /** Pictures of a device; `source` tells their form. */
    public Builder capture(CaptureSettings capture, StreamInfo source) {
      made.capture = capture;
      made.source = source;
      return this;
    }

    public Builder audio(AudioSettings audio) {
      made.audio = audio;
      return this;
    }

    public Builder deinterlace(Deinterlace deinterlace) {
      made.deinterlace = deinterlace;
      return this;
    }

    public Builder renditions(List<RenditionSpec> renditions) {
      made.renditions = List.copyOf(renditions);
      return this;
    }

    public Builder overlays(List<OverlaySpec> overlays) {
      made.overlays = List.copyOf(overlays);
      return this;
    }

    public Builder parallel(boolean parallel) {
      made.parallel = parallel;
      return this;
    }

    public Builder keyFrameSeconds(double seconds) {
      made.keyFrameSeconds = seconds;
      return this;
    }

    public Builder encoderPolicy(EncoderPolicy policy) {
      made.encoderPolicy = policy;
      return this;
    }

    public Builder previewWidth(int pixels) {
      made.previewWidth = pixels;
      return this;
    }

    public Builder device(Device device) {
      made.device = device;
      return this;
    }

    /** Null for the device's. */
    public Builder decoder(DecoderBackend decoder) {
      made.decoder = decoder;
      return this;
    }

    public Builder deviceListener(Consumer<DeviceEvent> listener) {
      made.deviceListener = listener;
      return this;
    }

    public Builder logListener(Consumer<SessionLog.Line> listener) {
      made.logListener = listener;
      return this;
    }

    public Builder excerpt(Excerpt excerpt) {
      made.excerpt = excerpt;
      return this;
    }

    public SessionSettings build() {
      return made;
    }
  }
}
