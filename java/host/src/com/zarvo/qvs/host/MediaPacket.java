package com.zarvo.qvs.host;

/**
 * One coded picture out of a container.
 *
 * @param data the coded bytes
 * @param pts presentation time in units of the stream's time base
 * @param timecodeMs the same, rounded to milliseconds
 * @param key true where decoding can start
 */
public record MediaPacket(byte[] data, long pts, long timecodeMs, boolean key) {}
