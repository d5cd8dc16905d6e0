package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Colours;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.Rational;
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

  private static final Path STANDARD_INPUT = Path.of("-");

  private final StreamInfo video;
  private final AudioStreamInfo audio;
  private final byte[] videoConfig;
  private final long[] facts = new long[7];
  private final Path path;
  private final boolean live;
  private final Interruption interruption;
  private boolean started;
  private long handle;

  private MediaReader(long handle, Path path, boolean live, Interruption interruption) {
    this.handle = handle;
    this.path = path;
    this.live = live;
    this.interruption = interruption;
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

  /** Opens a file, or standard input for "-"; the exception's message names it and says what is wrong. */
  public static MediaReader open(Path path) throws MediaException {
    return open(path, new Interruption());
  }

  /** The same; live input ends where it is when it is interrupted, as if nothing followed. */
  public static MediaReader open(Path path, Interruption interruption) throws MediaException {
    Path real = realOf(path);
    if (!Files.exists(real)) throw new MediaException(path + ": no such file");
    if (Files.isDirectory(real)) throw new MediaException(path + ": is a directory");
    boolean live = isLive(path);
    long handle = create();
    interruption.onRequest(() -> stop(handle));
    boolean ready = false;
    try {
      open(handle, (live ? path : real).toString(), live);
      MediaReader reader = new MediaReader(handle, path, live, interruption);
      ready = true;
      return reader;
    } catch (MediaException e) {
      throw new MediaException(path + ": " + e.getMessage());
    } finally {
      if (!ready) close(handle, interruption);
    }
  }

  /** True for input that can be read only once, from front to back: a pipe, a FIFO, a device. */
  public static boolean isLive(Path path) {
    Path real = realOf(path);
    return Files.exists(real) && !Files.isRegularFile(real) && !Files.isDirectory(real);
  }

  /** The name of the stream in it: that of the file. */
  public static String nameOf(Path path) {
    return path.equals(STANDARD_INPUT) ? "stdin" : path.getFileName().toString();
  }

  // A file that the shell put there can be read like any other.
  private static Path realOf(Path path) {
    return path.equals(STANDARD_INPUT) ? Path.of("/dev/stdin") : path;
  }

  /** True when the input can be read only once. */
  public boolean isLive() {
    return live;
  }

  /** True once a packet was read. */
  boolean isStarted() {
    return started;
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
    byte[] data = readPacket();
    if (data == null) return null;
    started = true;
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

  private byte[] readPacket() throws MediaException {
    try {
      return read(handle, facts);
    } catch (MediaException e) {
      String hint = live && !started ? ", it may not be made to be read from front to back" : "";
      throw new MediaException(path + ": " + e.getMessage() + hint);
    }
  }

  @Override
  public void close() {
    if (handle != 0) close(handle, interruption);
    handle = 0;
  }

  private static void close(long handle, Interruption interruption) {
    interruption.onRequest(null);
    close(handle);
  }

  private static native long create() throws MediaException;

  private static native void open(long handle, String path, boolean live) throws MediaException;

  private static native void stop(long handle);

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
