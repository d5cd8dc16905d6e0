package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.AudioSources;
import com.zarvo.qvs.host.session.VideoSource;
import java.util.List;

/** Which streams of an input a job takes, and the renditions that it makes of them, with everything settled. */
public final class StreamChoice {
  private final JobSettings settings;
  private final JobResult result;
  private final List<AudioSpec> audioSpecs;
  private StreamInfo source;
  private VideoCodec codec;
  private List<RenditionSpec> renditions = List.of();

  private StreamChoice(JobSettings settings, MediaReader reader, JobResult result)
      throws HostException, MediaException {
    this.settings = settings;
    this.result = result;
    if (settings.audioTrack() != null) reader.selectAudio(settings.audioTrack());
    audioSpecs = chooseAudio(reader);
    if (selectStreams(reader)) {
      source = reader.video().upright();
      codec = VideoSource.anyCodecOf(settings.input(), source);
      renditions = RenditionPlan.of(settings, source, hidesAspect(), reader.isLive());
    }
    RenditionPlan.check(settings, renditions);
  }

  /** Chooses, lets the reader leave out the rest, and notes in `result` what is taken and what is not. */
  public static StreamChoice of(JobSettings settings, MediaReader reader, JobResult result)
      throws HostException, MediaException {
    StreamChoice choice = new StreamChoice(settings, reader, result);
    result.source = choice.source;
    if (choice.source != null) result.videoDecoder = choice.codec == VideoCodec.RAW ? "libavcodec" : "session";
    result.display = choice.source == null ? null : reader.video().display();
    result.specs = choice.renditions;
    return choice;
  }

  /** The pictures, upright; null where they are left out. */
  public StreamInfo source() {
    return source;
  }

  /** Of the pictures, null without any. */
  public VideoCodec codec() {
    return codec;
  }

  /** Of pictures. */
  public List<RenditionSpec> renditions() {
    return renditions;
  }

  /** Renditions of sound, empty where it is left out. */
  public List<AudioSpec> audioSpecs() {
    return audioSpecs;
  }

  /** Settles which streams are read; true when pictures are among them. */
  private boolean selectStreams(MediaReader reader) throws HostException {
    String name = settings.input() + ": ";
    boolean audio = !audioSpecs.isEmpty();
    if (audio && reader.audio() == null) throw new HostException(name + "no audio stream in it");
    boolean wanted = settings.video() && settings.format().holdsVideo();
    boolean video = wanted && reader.video() != null;
    if (!video && !audio) throw new HostException(name + whyNothing(wanted));
    if (!video && settings.hlsWindow() > 0) throw new HostException(name + "no pictures for --hls-window");
    if (!video && !settings.renditions().isEmpty())
      throw new HostException(
          name + (reader.video() == null ? "no video stream in it" : "its pictures are left out, --rendition cannot be"));
    if (!audio) reader.ignore(MediaKind.AUDIO);
    if (!video) reader.ignore(MediaKind.VIDEO);
    return video;
  }

  private String whyNothing(boolean videoWanted) {
    List<JobResult.LeftOutAudio> leftOut = result.leftOutAudio();
    String audio = leftOut.isEmpty() ? "" : ", " + leftOut.get(leftOut.size() - 1);
    return (videoWanted ? "no video stream in it" : "nothing to do, neither pictures nor sound") + audio;
  }

  /** The audio renditions. Sound that nobody asked for must not keep the pictures from being made. */
  private List<AudioSpec> chooseAudio(MediaReader reader) throws HostException {
    AudioStreamInfo track = reader.audio();
    if (track == null) return settings.audioRenditions();
    boolean wanted = settings.audioAlong() || !settings.audioRenditions().isEmpty();
    for (AudioStreamInfo other : reader.audioTracks())
      if (other.number() != track.number())
        result.leaveOut(other, wanted ? "track " + track.number() + " is taken" : "as asked for");
    if (!settings.audioRenditions().isEmpty()) {
      result.audioDecoder = AudioSources.check(settings.input(), track);
      return settings.audioRenditions();
    }
    AudioCodec usual = settings.format().usualAudio();
    if (!settings.audioAlong()) {
      result.leaveOut(track, "as asked for");
    } else if (usual == null) {
      result.leaveOut(track, settings.format().label() + " holds no audio");
    } else {
      try {
        result.audioDecoder = AudioSources.check(settings.input(), track);
        return List.of(AudioSpec.parse(usual.codecName));
      } catch (HostException e) {
        result.leaveOut(track, e.getMessage());
      }
    }
    return List.of();
  }

  // An MPEG-2 stream of square pixels says so by a number that its decoder takes for a square picture.
  private boolean hidesAspect() {
    return codec == VideoCodec.MPEG2 && source.pixelAspect().num() == source.pixelAspect().den();
  }
}
