package com.zarvo.qvs.host;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;

/**
 * Writes one video stream into a container. The bytes go into a file with ".part" behind its name, which takes its
 * own name in {@link #finish}: a file under the final name is always whole.
 */
public final class MediaWriter implements AutoCloseable {
  private final Path target;
  private final Path part;
  private long handle;
  private long packets;
  private long bytes;
  private long lastPts = Long.MIN_VALUE;

  private MediaWriter(Path target, Path part, long handle) {
    this.target = target;
    this.part = part;
    this.handle = handle;
  }

  /**
   * Creates the file.
   *
   * @param format "ivf" or "webm"
   * @param codecName "vp8" or "vp9"
   * @param timeBase unit of the times given to {@link #write}
   * @param frameRate 0/1 when unknown
   */
  public static MediaWriter create(
      Path target, String format, String codecName, int width, int height, Rational timeBase, Rational frameRate)
      throws MediaException {
    Path part = target.resolveSibling(target.getFileName() + ".part");
    try {
      long handle =
          open(
              part.toString(),
              format,
              codecName,
              width,
              height,
              timeBase.num(),
              timeBase.den(),
              frameRate.num(),
              frameRate.den());
      part.toFile().deleteOnExit();
      return new MediaWriter(target, part, handle);
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
  }

  /** Appends one packet. Containers want growing times: one that does not grow is moved behind its forerunner. */
  public void write(byte[] data, int offset, int length, long pts, boolean key) throws MediaException {
    if (handle == 0) throw new MediaException(target + ": writer is closed");
    long time = packets > 0 && pts <= lastPts ? lastPts + 1 : pts;
    try {
      write(handle, data, offset, length, time, key);
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
    lastPts = time;
    packets++;
    bytes += length;
  }

  /** Completes the file under its own name. */
  public void finish() throws IOException {
    if (handle == 0) throw new MediaException(target + ": writer is closed");
    try {
      finish(handle);
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
    close(handle);
    handle = 0;
    Files.move(part, target, StandardCopyOption.REPLACE_EXISTING);
  }

  /** Packets written so far. */
  public long packets() {
    return packets;
  }

  /** Coded bytes written so far, without those of the container. */
  public long bytes() {
    return bytes;
  }

  public Path target() {
    return target;
  }

  /** Drops an unfinished file. */
  @Override
  public void close() {
    if (handle == 0) return;
    close(handle);
    handle = 0;
    part.toFile().delete();
  }

  private static native long open(
      String path,
      String format,
      String codec,
      int width,
      int height,
      int timeBaseNum,
      int timeBaseDen,
      int rateNum,
      int rateDen)
      throws MediaException;

  private static native void write(long handle, byte[] data, int offset, int length, long pts, boolean key)
      throws MediaException;

  private static native void finish(long handle) throws MediaException;

  private static native void close(long handle);
}
