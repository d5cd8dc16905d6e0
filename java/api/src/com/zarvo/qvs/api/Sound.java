package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.AudioSpec;
import java.util.Locale;

/** A rendition of the source's sound. */
public final class Sound {
  private final AudioSpec spec;

  private Sound(AudioSpec spec) {
    this.spec = spec;
  }

  /** What sound is coded in. */
  public enum Codec {
    AAC,
    OPUS,
    VORBIS
  }

  /** Bits a second; rate and channels are the source's own where the codec takes them. */
  public static Sound of(Codec codec, long bitRate) {
    return new Sound(AudioSpec.parse(codec.name().toLowerCase(Locale.ROOT) + "@" + bitRate));
  }

  /** The same at a rate in Hz and with so many channels. */
  public static Sound of(Codec codec, long bitRate, int sampleRate, int channels) {
    String form = "@" + bitRate + ",rate=" + sampleRate + ",channels=" + channels;
    return new Sound(AudioSpec.parse(codec.name().toLowerCase(Locale.ROOT) + form));
  }

  AudioSpec spec() {
    return spec;
  }
}
