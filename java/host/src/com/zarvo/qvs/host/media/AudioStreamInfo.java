package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Rational;

/**
 * The audio stream of a container file.
 *
 * @param codecName as libavcodec names it
 * @param sampleRate samples a second, 0 when the container does not tell
 * @param channels 0 when the container does not tell
 * @param timeBase unit of packet times, in seconds
 * @param durationMs milliseconds, -1 when unknown
 * @param config the codec's configuration as libavformat keeps it, may be empty
 */
public record AudioStreamInfo(
    String codecName, int sampleRate, int channels, Rational timeBase, long durationMs, byte[] config) {}
