package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.PacketLookahead;

/** What a capture is to begin with: a picture and silence, both at 0. They are only looked at. */
public final class CaptureFeed implements PacketLookahead {
  private static final int BEGINNING_SAMPLES = 1024;
  private static final int SAMPLE_BYTES = 2;

  private final AudioStreamInfo sound;

  /** `sound` is null where there is none. */
  public CaptureFeed(AudioStreamInfo sound) {
    this.sound = sound;
  }

  @Override
  public MediaPacket peek(MediaKind kind, int n) {
    if (n > 0 || kind == MediaKind.AUDIO && sound == null) return null;
    if (kind == MediaKind.AUDIO) return silence(sound, 0, BEGINNING_SAMPLES);
    return new MediaPacket(kind, new byte[0], 0, 0, 0, 0, 0, true);
  }

  static MediaPacket silence(AudioStreamInfo sound, long at, int samples) {
    return samples(sound, at, new byte[samples * sound.channels() * SAMPLE_BYTES]);
  }

  /** A packet of interleaved samples that begins at a count of samples. */
  static MediaPacket samples(AudioStreamInfo sound, long at, byte[] data) {
    long count = data.length / (SAMPLE_BYTES * sound.channels());
    return new MediaPacket(
        MediaKind.AUDIO, data, at, sound.timeBase().toMilliseconds(at), count, 0, 0, true);
  }
}
