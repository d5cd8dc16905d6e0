package com.zarvo.qvs.host.media;

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
 * @param disposable true when no other picture is made from this one
 * @param hidden true when it is to be decoded and not to be shown
 * @param timeKind where the time comes from
 * @param newConfig the codec's configuration from here on, null when it stays
 */
public record MediaPacket(
    MediaKind kind,
    byte[] data,
    long pts,
    long timecodeMs,
    long duration,
    int paddingStart,
    int paddingEnd,
    boolean key,
    boolean disposable,
    boolean hidden,
    TimeKind timeKind,
    byte[] newConfig) {

  /** Where a time comes from; in the order of the native side. */
  public enum TimeKind {
    /** The container has the time at which the picture is shown. */
    SHOWN,
    /** It has only the time of decoding. */
    DECODED,
    /** It has none. */
    GUESSED
  }

  /** A packet like most. */
  public MediaPacket(
      MediaKind kind,
      byte[] data,
      long pts,
      long timecodeMs,
      long duration,
      int paddingStart,
      int paddingEnd,
      boolean key) {
    this(
        kind, data, pts, timecodeMs, duration, paddingStart, paddingEnd, key, false, false, TimeKind.SHOWN, null);
  }

  /** The same where the codec's configuration holds from here on. */
  public MediaPacket withConfig(byte[] config) {
    return new MediaPacket(
        kind, data, pts, timecodeMs, duration, paddingStart, paddingEnd, key, disposable, hidden, timeKind, config);
  }

  /** The same with other bytes. */
  public MediaPacket with(byte[] bytes) {
    return new MediaPacket(
        kind, bytes, pts, timecodeMs, duration, paddingStart, paddingEnd, key, disposable, hidden, timeKind, newConfig);
  }

  /** The same at another time. */
  public MediaPacket at(long otherPts, long otherTimecodeMs) {
    return new MediaPacket(
        kind, data, otherPts, otherTimecodeMs, duration, paddingStart, paddingEnd, key, disposable, hidden, timeKind,
        newConfig);
  }
}
