package com.zarvo.qvs.host;

/**
 * One coded picture or piece of sound out of a container.
 *
 * @param data the coded bytes
 * @param pts presentation time in units of the stream's time base
 * @param timecodeMs the same, rounded to milliseconds
 * @param duration in units of the stream's time base, 0 when unknown
 * @param paddingStart samples at the start that were never meant to be heard
 * @param paddingEnd such samples at the end
 * @param key true where decoding can start
 */
public record MediaPacket(
    MediaKind kind,
    byte[] data,
    long pts,
    long timecodeMs,
    long duration,
    int paddingStart,
    int paddingEnd,
    boolean key) {}
