package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.LiveQuality;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.model.MediaInput;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.EncoderPolicy;
import java.nio.file.Path;
import java.util.List;

/** One file to be made into renditions: pictures and sound in MP4 by the default ladder, unless told otherwise. */
public final class JobSettings {
  private final Path input;
  private MediaInput source;
  private final Path directory;
  private List<RenditionSpec> renditions = List.of();
  private List<AudioSpec> audioRenditions = List.of();
  private AudioConversion conversion = AudioConversion.NONE;
  private boolean video = true;
  private boolean audioAlong = true;
  private Deinterlace deinterlace = Deinterlace.ON;
  private double frameRate;
  private VideoTuning.Preset preset;
  private boolean realTime;
  private EncoderPolicy encoderPolicy = EncoderPolicy.SOFTWARE;
  private Device device = Device.SOFTWARE;
  private DecoderBackend decoder;
  private List<OverlaySpec> overlays = List.of();
  private Container format = Container.MP4;
  private int hlsWindow;
  private Path contactSheet;
  private boolean parallel = true;
  private double keyFrameSeconds = 2;
  private long maxMilliseconds = Long.MAX_VALUE;
  private String audioTrack;
  private Overwrite overwrite = Overwrite.NEVER;
  private LiveQuality liveQuality;
  private boolean paced;

  private JobSettings(Path input, Path directory) {
    this.input = input;
    this.source = MediaInput.of(input);
    this.directory = directory;
  }

  public static Builder of(Path input, Path directory) {
    return new Builder(new JobSettings(input, directory));
  }

  /** The file; of a URL a name that a file may have. */
  public Path input() {
    return input;
  }

  /** What is read. */
  public MediaInput source() {
    return source;
  }

  public Path directory() {
    return directory;
  }

  /** Empty for the default ladder. */
  public List<RenditionSpec> renditions() {
    return renditions;
  }

  /** The audio renditions that were asked for. */
  public List<AudioSpec> audioRenditions() {
    return audioRenditions;
  }

  /** What decoded sound is turned into for all audio renditions. */
  public AudioConversion conversion() {
    return conversion;
  }

  /** False leaves pictures out. */
  public boolean video() {
    return video;
  }

  /** True to make an audio rendition of a source with sound where none was asked for. */
  public boolean audioAlong() {
    return audioAlong;
  }

  public Deinterlace deinterlace() {
    return deinterlace;
  }

  /** Highest pictures a second of renditions that name none, 0 for the source's own. */
  public double frameRate() {
    return frameRate;
  }

  /** Of H.264 and H.265 renditions that name none, null for the usual ones. */
  public VideoTuning.Preset preset() {
    return preset;
  }

  /** True to code pictures of files as they come, too. */
  public boolean realTime() {
    return realTime;
  }

  /** Which encoders there may be, and what becomes of one that fails. */
  public EncoderPolicy encoderPolicy() {
    return encoderPolicy;
  }

  /** Where pictures are decoded, scaled and drawn on. */
  public Device device() {
    return device;
  }

  /** What decodes, null for the device's. */
  public DecoderBackend decoder() {
    return decoder;
  }

  public List<OverlaySpec> overlays() {
    return overlays;
  }

  public Container format() {
    return format;
  }

  /** Segments that a playlist names at a time while the work goes on, 0 for all at its end. */
  public int hlsWindow() {
    return hlsWindow;
  }

  /** Where it goes, null for none. */
  public Path contactSheet() {
    return contactSheet;
  }

  /** True to let the encoders work side by side. */
  public boolean parallel() {
    return parallel;
  }

  /** Longest time from key frame to key frame. */
  public double keyFrameSeconds() {
    return keyFrameSeconds;
  }

  /** How much of the input is taken. */
  public long maxMilliseconds() {
    return maxMilliseconds;
  }

  /** Number or language of the audio track that is taken, null for the first. */
  public String audioTrack() {
    return audioTrack;
  }

  public Overwrite overwrite() {
    return overwrite;
  }

  /** How closely the quality of renditions is watched, null for not at all. */
  public LiveQuality liveQuality() {
    return liveQuality;
  }

  /** True to take a file no faster than it plays. */
  public boolean paced() {
    return paced;
  }

  /** Sets by name what is to be other than usual. Used once. */
  public static final class Builder {
    private final JobSettings made;

    private Builder(JobSettings made) {
      this.made = made;
    }

    /** Where it is more than a file. */
    public Builder source(MediaInput source) {
      made.source = source;
      return this;
    }

    public Builder renditions(List<RenditionSpec> renditions) {
      made.renditions = List.copyOf(renditions);
      return this;
    }

    public Builder audioRenditions(List<AudioSpec> specs) {
      made.audioRenditions = List.copyOf(specs);
      return this;
    }

    public Builder conversion(AudioConversion conversion) {
      made.conversion = conversion;
      return this;
    }

    public Builder video(boolean wanted) {
      made.video = wanted;
      return this;
    }

    public Builder audioAlong(boolean wanted) {
      made.audioAlong = wanted;
      return this;
    }

    public Builder deinterlace(Deinterlace deinterlace) {
      made.deinterlace = deinterlace;
      return this;
    }

    public Builder frameRate(double frameRate) {
      made.frameRate = frameRate;
      return this;
    }

    public Builder preset(VideoTuning.Preset preset) {
      made.preset = preset;
      return this;
    }

    public Builder realTime(boolean wanted) {
      made.realTime = wanted;
      return this;
    }

    public Builder encoderPolicy(EncoderPolicy policy) {
      made.encoderPolicy = policy;
      return this;
    }

    public Builder device(Device device) {
      made.device = device;
      return this;
    }

    public Builder decoder(DecoderBackend decoder) {
      made.decoder = decoder;
      return this;
    }

    public Builder overlays(List<OverlaySpec> overlays) {
      made.overlays = List.copyOf(overlays);
      return this;
    }

    public Builder format(Container format) {
      made.format = format;
      return this;
    }

    public Builder hlsWindow(int segments) {
      made.hlsWindow = segments;
      return this;
    }

    public Builder contactSheet(Path file) {
      made.contactSheet = file;
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

    public Builder maxMilliseconds(long milliseconds) {
      made.maxMilliseconds = milliseconds;
      return this;
    }

    public Builder audioTrack(String track) {
      made.audioTrack = track;
      return this;
    }

    public Builder overwrite(Overwrite overwrite) {
      made.overwrite = overwrite;
      return this;
    }

    public Builder liveQuality(LiveQuality quality) {
      made.liveQuality = quality;
      return this;
    }

    public Builder paced(boolean paced) {
      made.paced = paced;
      return this;
    }

    public JobSettings build() {
      return made;
    }
  }
}
