package com.zarvo.qvs.host;

import java.util.EnumSet;
import java.util.Locale;
import java.util.Set;

/** Containers that can be written, and what each can hold. */
enum Container {
  WEBM("webm", EnumSet.of(VideoCodec.VP8, VideoCodec.VP9), EnumSet.of(AudioCodec.OPUS, AudioCodec.VORBIS)),
  MP4("mp4", EnumSet.of(VideoCodec.VP9), EnumSet.of(AudioCodec.AAC, AudioCodec.OPUS)),
  IVF("ivf", EnumSet.of(VideoCodec.VP8, VideoCodec.VP9), EnumSet.noneOf(AudioCodec.class)),
  OGG("ogg", EnumSet.noneOf(VideoCodec.class), EnumSet.of(AudioCodec.OPUS, AudioCodec.VORBIS)),
  AAC("adts", EnumSet.noneOf(VideoCodec.class), EnumSet.of(AudioCodec.AAC));

  /** As libavformat names it. */
  final String muxer;

  private final Set<VideoCodec> video;
  private final Set<AudioCodec> audio;

  Container(String muxer, Set<VideoCodec> video, Set<AudioCodec> audio) {
    this.muxer = muxer;
    this.video = video;
    this.audio = audio;
  }

  /** Its name on the command line, also the ending of its files. */
  String label() {
    return name().toLowerCase(Locale.ROOT);
  }

  boolean holdsPictures() {
    return !video.isEmpty();
  }

  boolean holds(VideoCodec codec) {
    return video.contains(codec);
  }

  boolean holds(AudioCodec codec) {
    return audio.contains(codec);
  }

  /** Where sound goes alone: this container where it can hold it, else the codec's own. */
  Container forSoundAlone(AudioCodec codec) {
    if (holds(codec)) return this;
    return codec == AudioCodec.AAC ? AAC : OGG;
  }

  static Container of(String text) {
    for (Container container : values()) if (container.label().equals(text.toLowerCase(Locale.ROOT))) return container;
    throw new IllegalArgumentException("'" + text + "' is unknown, take webm, mp4, ivf, ogg or aac");
  }
}
