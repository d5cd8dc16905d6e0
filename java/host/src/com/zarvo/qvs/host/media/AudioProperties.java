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
  long channelMask;
  long blockAlign;
  long bitsPerSample;
  long bitRate;
  long codecTag;

  AudioProperties() {}

  AudioProperties(AudioStreamInfo info) {
    sampleRate = info.sampleRate();
    channels = info.channels();
    timeBaseNum = info.timeBase().num();
    timeBaseDen = info.timeBase().den();
    channelMask = info.coding().channelMask();
    blockAlign = info.coding().blockAlign();
    bitsPerSample = info.coding().bitsPerSample();
    bitRate = info.coding().bitRate();
    codecTag = info.coding().codecTag();
  }

  AudioProperties(OutputTrack.Audio track) {
    sampleRate = track.sampleRate();
    channels = track.channels();
    timeBaseNum = track.timeBase().num();
    timeBaseDen = track.timeBase().den();
    frameSamples = track.frameSamples();
    delaySamples = track.delaySamples();
  }

  AudioStreamInfo toInfo(int number, String language, String codecName, byte[] config) {
    return new AudioStreamInfo(
        number,
        language,
        codecName,
        (int) sampleRate,
        (int) channels,
        new Rational((int) timeBaseNum, (int) timeBaseDen),
        durationMs,
        config,
        new AudioStreamInfo.Coding(channelMask, (int) blockAlign, (int) bitsPerSample, bitRate, codecTag));
  }
}
