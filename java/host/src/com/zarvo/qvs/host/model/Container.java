package com.zarvo.qvs.host.model;

import java.util.EnumSet;
import java.util.Locale;
import java.util.Map;
import java.util.Set;

/** Containers that can be written, and what each can hold. */
public enum Container {
  MP4(
      "mp4",
      EnumSet.of(VideoCodec.H264, VideoCodec.H265, VideoCodec.VP9, VideoCodec.H263),
      EnumSet.of(AudioCodec.AAC, AudioCodec.OPUS)),
  FLV("flv", EnumSet.of(VideoCodec.H264), EnumSet.of(AudioCodec.AAC)),
  HLS("hls", EnumSet.of(VideoCodec.H264, VideoCodec.H265), EnumSet.of(AudioCodec.AAC)),
  TS("mpegts", EnumSet.of(VideoCodec.H264, VideoCodec.H265), EnumSet.of(AudioCodec.AAC)),
  MKV(
      "matroska",
      EnumSet.of(VideoCodec.H264, VideoCodec.H265, VideoCodec.VP8, VideoCodec.VP9, VideoCodec.H263),
      EnumSet.of(AudioCodec.AAC, AudioCodec.OPUS, AudioCodec.VORBIS)),
  WEBM("webm", EnumSet.of(VideoCodec.VP8, VideoCodec.VP9), EnumSet.of(AudioCodec.OPUS, AudioCodec.VORBIS)),
  IVF("ivf", EnumSet.of(VideoCodec.VP8, VideoCodec.VP9), EnumSet.noneOf(AudioCodec.class)),
  H263("h263", EnumSet.of(VideoCodec.H263), EnumSet.noneOf(AudioCodec.class)),
  OGG("ogg", EnumSet.noneOf(VideoCodec.class), EnumSet.of(AudioCodec.OPUS, AudioCodec.VORBIS)),
  AAC("adts", EnumSet.noneOf(VideoCodec.class), EnumSet.of(AudioCodec.AAC));

  public static final String PLAYLIST = "index.m3u8";

  /** As libavformat names it. */
  private final String muxer;

  private final Set<VideoCodec> video;
  private final Set<AudioCodec> audio;

  Container(String muxer, Set<VideoCodec> video, Set<AudioCodec> audio) {
    this.muxer = muxer;
    this.video = video;
    this.audio = audio;
  }

  /** Its name on the command line, also the ending of its files. */
  public String label() {
    return name().toLowerCase(Locale.ROOT);
  }

  /** True where a rendition is a folder of segments with a playlist. */
  public boolean isFolder() {
    return this == HLS;
  }

  /**
   * True where it can say how pictures are to be shown. Matroska could, but its muxer in libavformat 59 leaves it out.
   */
  public boolean holdsDisplayMatrix() {
    return this == MP4;
  }

  /** False where times are moved so that none lies before 0, those of a codec's delay included. */
  public boolean holdsTimesBeforeZero() {
    return this != TS;
  }

  public boolean holdsVideo() {
    return !video.isEmpty();
  }

  public boolean holds(VideoCodec codec) {
    return video.contains(codec);
  }

  public boolean holds(AudioCodec codec) {
    return audio.contains(codec);
  }

  /** The codec of renditions that ask for none. */
  public VideoCodec usualVideo() {
    return holds(VideoCodec.H264) ? VideoCodec.H264 : holds(VideoCodec.VP8) ? VideoCodec.VP8 : VideoCodec.H263;
  }

  /** The codec in which a source's sound goes along without being asked for; null where it cannot. */
  public AudioCodec usualAudio() {
    return holds(AudioCodec.AAC) ? AudioCodec.AAC : holds(AudioCodec.OPUS) ? AudioCodec.OPUS : null;
  }

  /** Where sound goes alone: this container where it can hold it, else the codec's own. */
  public Container forAudioAlone(AudioCodec codec) {
    if (holds(codec)) return this;
    return codec == AudioCodec.AAC ? AAC : OGG;
  }

  /** As libavformat names what writes these. */
  public String muxer(Set<String> codecNames) {
    return isMobile(codecNames) ? "3gp" : muxer;
  }

  // H.263 has its name in files of this family ("s263") by the mobile networks' standard alone.
  private boolean isMobile(Set<String> codecNames) {
    return this == MP4 && codecNames.contains(VideoCodec.H263.codecName);
  }

  /** Settings of the muxer. */
  public Map<String, String> options() {
    if (this != MP4) return Map.of();
    // Edit lists count in the first's units; the usual millisecond would move sound against pictures by as much. The
    // index goes in front, so that players can start before they have all.
    return Map.of("movie_timescale", "90000", "movflags", "+faststart");
  }

  public static Container of(String text) {
    for (Container container : values()) if (container.label().equals(text.toLowerCase(Locale.ROOT))) return container;
    throw new IllegalArgumentException("'" + text + "' is unknown, take mp4, flv, hls, ts, mkv, webm, ivf, h263, ogg or aac");
  }
}
