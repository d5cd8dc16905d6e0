package com.zarvo.qvs.host;

import java.nio.file.Files;
import java.nio.file.Path;

/** Reads the packets of the best video stream of any container that libavformat knows. */
public final class MediaReader implements AutoCloseable {
  private static final int PROPERTY_COUNT = 7;

  private final StreamInfo info;
  private final long[] times = new long[2];
  private long handle;

  private MediaReader(long handle) {
    this.handle = handle;
    long[] p = new long[PROPERTY_COUNT];
    properties(handle, p);
    this.info =
        new StreamInfo(
            codecName(handle),
            pixelFormat(handle),
            (int) p[0],
            (int) p[1],
            new Rational((int) p[2], (int) p[3]),
            new Rational((int) p[4], (int) p[5]),
            p[6]);
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

  public StreamInfo info() {
    return info;
  }

  /** The next packet in file order, null at the end of the file. */
  public MediaPacket next() throws MediaException {
    if (handle == 0) throw new MediaException("reader is closed");
    byte[] data = read(handle, times);
    if (data == null) return null;
    return new MediaPacket(data, times[0], info.toMilliseconds(times[0]), times[1] != 0);
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long open(String path) throws MediaException;

  private static native String codecName(long handle);

  private static native String pixelFormat(long handle);

  /** Fills width, height, frame rate, time base (numerator and denominator each) and milliseconds. */
  private static native void properties(long handle, long[] values);

  /** Returns null at the end; fills presentation time and key flag. */
  private static native byte[] read(long handle, long[] times) throws MediaException;

  private static native void close(long handle);
}
