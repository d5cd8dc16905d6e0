package com.zarvo.qvs.host;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.List;

/**
 * Writes streams into a container. The bytes go into a file with ".part" behind its name, which takes its own name in
 * {@link #finish}: a file under the final name is always whole.
 */
public final class MediaWriter implements AutoCloseable {
  private final Path target;
  private final Path part;
  private final long[] lastDts;
  private final long[] packets;
  private final long[] bytes;
  private long handle;

  private MediaWriter(Path target, Path part, long handle, int tracks) {
    this.target = target;
    this.part = part;
    this.handle = handle;
    this.lastDts = new long[tracks];
    this.packets = new long[tracks];
    this.bytes = new long[tracks];
  }

  /**
   * Creates the file.
   *
   * @param format a container as libavformat names it
   * @param tracks the streams; their numbers are their places in this list
   * @param keepTimes true when no time lies before 0 but by a codec's delay: the container then moves none
   */
  public static MediaWriter create(Path target, String format, List<? extends OutputTrack> tracks, boolean keepTimes)
      throws MediaException {
    Path part = target.resolveSibling(target.getFileName() + ".part");
    long handle = 0;
    try {
      handle = create(part.toString(), format);
      for (OutputTrack track : tracks) add(handle, track);
      begin(handle, keepTimes);
      part.toFile().deleteOnExit();
      return new MediaWriter(target, part, handle, tracks.size());
    } catch (MediaException e) {
      if (handle != 0) close(handle);
      throw new MediaException(target + ": " + e.getMessage());
    }
  }

  private static void add(long handle, OutputTrack track) throws MediaException {
    int num = track.timeBase().num();
    int den = track.timeBase().den();
    if (track instanceof OutputTrack.Video v)
      addVideo(
          handle, v.codecName(), v.config(), num, den, v.width(), v.height(), v.frameRate().num(), v.frameRate().den());
    else if (track instanceof OutputTrack.Audio a)
      addAudio(
          handle, a.codecName(), a.config(), num, den, a.sampleRate(), a.channels(), a.frameSamples(), a.delaySamples());
  }

  /** Appends one packet. Containers want growing times: one that does not grow is moved behind its forerunner. */
  public void write(int track, OutputPacket packet) throws MediaException {
    if (handle == 0) throw new MediaException(target + ": writer is closed");
    boolean late = packets[track] > 0 && packet.dts() <= lastDts[track];
    long dts = late ? lastDts[track] + 1 : packet.dts();
    long pts = Math.max(packet.pts(), dts);
    try {
      write(
          handle, track, packet.data(), packet.offset(), packet.length(), pts, dts, packet.duration(),
          packet.discard(), packet.key());
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
    lastDts[track] = dts;
    packets[track]++;
    bytes[track] += packet.length();
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

  /** Packets of a stream written so far. */
  public long packets(int track) {
    return packets[track];
  }

  /** Coded bytes of a stream written so far, without those of the container. */
  public long bytes(int track) {
    return bytes[track];
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

  private static native long create(String path, String format) throws MediaException;

  private static native void addVideo(
      long handle,
      String codec,
      byte[] config,
      int timeBaseNum,
      int timeBaseDen,
      int width,
      int height,
      int rateNum,
      int rateDen)
      throws MediaException;

  private static native void addAudio(
      long handle,
      String codec,
      byte[] config,
      int timeBaseNum,
      int timeBaseDen,
      int sampleRate,
      int channels,
      int frameSamples,
      int delaySamples)
      throws MediaException;

  private static native void begin(long handle, boolean keepTimes) throws MediaException;

  private static native void write(
      long handle,
      int track,
      byte[] data,
      int offset,
      int length,
      long pts,
      long dts,
      long duration,
      long discard,
      boolean key)
      throws MediaException;

  private static native void finish(long handle) throws MediaException;

  private static native void close(long handle);
}
