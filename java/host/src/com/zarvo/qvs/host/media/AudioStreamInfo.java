package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Rational;

/**
 * An audio stream of a container file.
 *
 * @param number counted from 1 over all audio streams of the file
 * @param language as the container names it, mostly in three letters; "" when it does not
 * @param codecName as libavcodec names it
 * @param sampleRate samples a second, 0 when the container does not tell
 * @param channels 0 when the container does not tell
 * @param timeBase unit of packet times, in seconds
 * @param durationMs milliseconds, -1 when unknown
 * @param config the codec's configuration as libavformat keeps it, may be empty
 */
public record AudioStreamInfo(
    int number,
    String language,
    String codecName,
    int sampleRate,
    int channels,
    Rational timeBase,
    long durationMs,
    byte[] config,
    Coding coding) {

  /** What only decoders of some codecs ask for; 0 where it is not known. */
  public record Coding(long channelMask, int blockAlign, int bitsPerSample, long bitRate, long codecTag) {
    public static final Coding UNKNOWN = new Coding(0, 0, 0, 0, 0);
  }

  /** The stream in a line of text. */
  @Override
  public String toString() {
    return "track " + number + " (" + codecName + (sampleRate > 0 ? ", " + sampleRate + " Hz" : "")
        + (channels > 0 ? ", " + channels + (channels == 1 ? " channel" : " channels") : "")
        + (language.isEmpty() ? "" : ", " + language) + ")";
  }
}
