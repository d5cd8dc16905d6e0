package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Rational;

/** Facts of an audio stream on their way to or from the native side, which knows the fields by their names. */
final class AudioProperties {
  long sampleRate;
  long channels;
  long timeBaseNum;
  long timeBaseDen;
  long durationMs;
  long frameSamples;
  long delaySamples;

  AudioProperties() {}

  AudioProperties(OutputTrack.Audio track) {
    sampleRate = track.sampleRate();
    channels = track.channels();
    timeBaseNum = track.timeBase().num();
    timeBaseDen = track.timeBase().den();
    frameSamples = track.frameSamples();
    delaySamples = track.delaySamples();
  }

  AudioStreamInfo toInfo(String codecName, byte[] config) {
    return new AudioStreamInfo(
        codecName, (int) sampleRate, (int) channels, new Rational((int) timeBaseNum, (int) timeBaseDen), durationMs,
        config);
  }
}
