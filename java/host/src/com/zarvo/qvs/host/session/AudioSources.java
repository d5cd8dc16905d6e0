package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.HostException;
import java.nio.file.Path;

/** Finds who decodes an audio stream: the session where it can, else libavcodec. */
public final class AudioSources {
  private AudioSources() {}

  /** For a stream; refuses what nobody can decode. */
  static AudioSource open(AudioStreamInfo info) throws HostException, MediaException {
    HostException refusal;
    try {
      return new CodedAudioSource(info);
    } catch (HostException e) {
      refusal = e;
    }
    try {
      return new DecodedAudioSource(info);
    } catch (MediaException e) {
      throw refusal;
    }
  }

  /** Refuses audio that nobody can decode, in a line that names `input`; tells which decoder serves the other. */
  public static String check(Path input, AudioStreamInfo info) throws HostException {
    try (AudioSource tried = open(info)) {
      return tried.codec() == AudioCodec.PCM ? "libavcodec" : "session";
    } catch (HostException | MediaException e) {
      throw new HostException(input + ": " + e.getMessage());
    }
  }
}
