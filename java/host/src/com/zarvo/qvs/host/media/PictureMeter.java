package com.zarvo.qvs.host.media;

import java.nio.ByteBuffer;

/**
 * Decodes what an encoder made, with libavcodec, and measures it against what went in. One thread at a time.
 */
public final class PictureMeter implements AutoCloseable {
  private final double[] distance = new double[2];
  private long handle;

  /**
   * @param codec as libavcodec names it
   * @param units whether packets are units behind lengths of four bytes
   */
  public PictureMeter(String codec, boolean units) throws MediaException {
    handle = open(codec, units);
  }

  /** Takes a packet, shown at that time; what came of it is to be received before the next one. */
  public void send(byte[] bytes, int offset, int length, long time) throws MediaException {
    send(handle, bytes, offset, length, time);
  }

  /** The end: what the decoder held back can be received. */
  public void sendEnd() throws MediaException {
    send(handle, null, 0, 0, 0);
  }

  /** Moves to the next picture, in the order of showing; false when there is none until more is sent. */
  public boolean receive() {
    return receive(handle);
  }

  /** When the picture is shown. */
  public long time() {
    return time(handle);
  }

  /**
   * Measures the picture against planes Y, U and V in a direct buffer, rows without padding; false where it has another
   * size or form.
   */
  public boolean measure(ByteBuffer planes, int width, int height) {
    return measure(handle, planes, width, height, distance);
  }

  /** The mean over the squared differences of all samples, as measured last. */
  public double squaredError() {
    return distance[0];
  }

  /** Structural similarity, of the three planes in proportion to their samples; 1 where nothing differs. */
  public double similarity() {
    return distance[1];
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long open(String codec, boolean units) throws MediaException;

  private static native void send(long handle, byte[] bytes, int offset, int length, long time) throws MediaException;

  private static native boolean receive(long handle);

  private static native long time(long handle);

  private static native boolean measure(long handle, ByteBuffer planes, int width, int height, double[] result);

  private static native void close(long handle);
}
