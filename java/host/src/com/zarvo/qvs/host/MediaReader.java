package com.zarvo.qvs.host;

import java.nio.file.Files;
import java.nio.file.Path;

/** Reads the packets of the best video and audio stream of any container that libavformat knows, in file order. */
public final class MediaReader implements AutoCloseable {
  private static final MediaKind[] KINDS = MediaKind.values();
  private static final MediaPacket.TimeKind[] TIME_KINDS = MediaPacket.TimeKind.values();
  // Bits of the native side.
  private static final long KEY = 1;
  private static final long DISPOSABLE = 2;
  private static final long HIDDEN = 4;
  private static final long NEW_CONFIG = 8;

  private final StreamInfo video;
  private final AudioStreamInfo audio;
  private final byte[] videoConfig;
  private final long[] facts = new long[7];
  private long handle;

  private MediaReader(long handle) {
    this.handle = handle;
    boolean pictures = has(handle, MediaKind.VIDEO.ordinal());
    this.video = pictures ? videoInfo(handle) : null;
    this.videoConfig = pictures ? codecConfig(handle, MediaKind.VIDEO.ordinal()) : null;
    this.audio = has(handle, MediaKind.AUDIO.ordinal()) ? audioInfo(handle) : null;
  }

  private static StreamInfo videoInfo(long handle) {
    long[] p = new long[18];
    videoProperties(handle, p);
    return new StreamInfo(
        codecName(handle, MediaKind.VIDEO.ordinal()),
        pixelFormat(handle),
        (int) p[0],
        (int) p[1],
        new Rational((int) p[2], (int) p[3]),
        new Rational((int) p[4], (int) p[5]),
        p[6],
        new Rational((int) p[7], (int) p[8]),
        p[9],
        Colours.of((int) p[10], (int) p[11], (int) p[12], p[13] != 0, (int) p[1]),
        new DisplayMatrix((int) p[14], (int) p[15], (int) p[16], (int) p[17]));
  }

  private static AudioStreamInfo audioInfo(long handle) {
    long[] p = new long[5];
    audioProperties(handle, p);
    return new AudioStreamInfo(
        codecName(handle, MediaKind.AUDIO.ordinal()),
        (int) p[0],
        (int) p[1],
        new Rational((int) p[2], (int) p[3]),
        p[4],
        codecConfig(handle, MediaKind.AUDIO.ordinal()));
  }

  /** Opens a file; the exception's message names it and says what is wrong. */
  public static MediaReader open(Path path) throws MediaException {
    if (!Files.exists(path)) throw new MediaException(path + ": no such file");
    if (Files.isDirectory(path)) throw new MediaException(path + ": is a directory");
    try {
      return new MediaReader(open(path.toString()));
    } catch (MediaException e) {
      throw new MediaException(path + ": " + e.getMessage());
    }
  }

  /** The video stream, null when there is none. */
  public StreamInfo video() {
    return video;
  }

  /** Codec configuration of the video stream as libavformat keeps it, may be empty; null without such a stream. */
  public byte[] videoConfig() {
    return videoConfig;
  }

  /** The audio stream, null when there is none. */
  public AudioStreamInfo audio() {
    return audio;
  }

  /** Leaves the packets of one stream out from now on. */
  public void ignore(MediaKind kind) {
    if (handle != 0) ignore(handle, kind.ordinal());
  }

  /** The next packet in file order, null at the end of the file. */
  public MediaPacket next() throws MediaException {
    if (handle == 0) throw new MediaException("reader is closed");
    byte[] data = read(handle, facts);
    if (data == null) return null;
    MediaKind kind = KINDS[(int) facts[0]];
    Rational unit = kind == MediaKind.VIDEO ? video.timeBase() : audio.timeBase();
    return new MediaPacket(
        kind,
        data,
        facts[1],
        unit.toMilliseconds(facts[1]),
        facts[2],
        (int) facts[3],
        (int) facts[4],
        (facts[5] & KEY) != 0,
        (facts[5] & DISPOSABLE) != 0,
        (facts[5] & HIDDEN) != 0,
        TIME_KINDS[(int) facts[6]],
        (facts[5] & NEW_CONFIG) != 0 ? newConfig(handle) : null);
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long open(String path) throws MediaException;

  private static native boolean has(long handle, int kind);

  private static native void ignore(long handle, int kind);

  private static native String codecName(long handle, int kind);

  private static native byte[] codecConfig(long handle, int kind);

  private static native String pixelFormat(long handle);

  /**
   * Fills width, height, frame rate and time base as fractions, milliseconds, pixel aspect and bit rate; primaries,
   * transfer, matrix and 1 for full range; the display matrix.
   */
  private static native void videoProperties(long handle, long[] values);

  /** Fills sample rate, channels, time base (numerator and denominator) and milliseconds. */
  private static native void audioProperties(long handle, long[] values);

  /** Returns null at the end; fills kind, time, duration, padding at start and end, bits, kind of time. */
  private static native byte[] read(long handle, long[] facts) throws MediaException;

  private static native byte[] newConfig(long handle);

  private static native void close(long handle);
}
