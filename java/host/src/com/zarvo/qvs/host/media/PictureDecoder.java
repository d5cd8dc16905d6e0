package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Colors;

/**
 * Decodes pictures with libavcodec into planar 8-bit 4:2:0: for codecs that the transcoder has no decoder for. What is
 * of another form is converted, in the colours that were asked for.
 */
public final class PictureDecoder implements AutoCloseable {
  private static final int FACT_WIDTH = 0;
  private static final int FACT_HEIGHT = 1;
  private static final int FACT_STRIDE_Y = 2;
  private static final int FACT_STRIDE_C = 3;
  private static final int FACT_INTERLACED = 4;
  private static final int FACT_BOTTOM_FIRST = 5;
  private static final int FACT_PTS = 6;
  private static final int FACT_DURATION = 7;
  private static final int FACT_DAMAGED = 8;
  private static final int FACT_LOST = 9;
  private static final int FACTS = 10;
  private static final int FLAG_KEY = 1;
  private static final int FLAG_HIDDEN = 2;
  private static final int FLAG_SHOWN_TIME = 4;
  private static final long NO_PTS = Long.MIN_VALUE;

  private final long[] facts = new long[FACTS];
  private byte[] picture = {};
  private long lost;
  private long handle;

  /** For the pictures of an open reader, by its native side's handle. */
  PictureDecoder(long reader, Colors colors) throws MediaException {
    handle = open(reader, colors.matrix(), colors.fullRange(), Runtime.getRuntime().availableProcessors());
  }

  /** Makes a decoder of a source's pictures. */
  public interface Maker {
    PictureDecoder make() throws MediaException;
  }

  /** True where libavcodec has a decoder for it; for host libraries that are loaded. */
  public static boolean isThereFor(String codecName) {
    return knows(codecName);
  }

  /** Takes a packet; false when it is damaged. What came of it is to be received before the next one. */
  public boolean send(MediaPacket packet) {
    boolean shown = packet.timeKind() == MediaPacket.TimeKind.SHOWN;
    int flags = (packet.key() ? FLAG_KEY : 0) | (packet.hidden() ? FLAG_HIDDEN : 0) | (shown ? FLAG_SHOWN_TIME : 0);
    return send(handle, packet.data(), packet.pts(), flags);
  }

  /** The end: what the decoder held back can be received. */
  public void sendEnd() {
    sendEnd(handle);
  }

  /** Moves to the next picture; false when there is none until more is sent. */
  public boolean receive() {
    int length = receive(handle, facts);
    lost += facts[FACT_LOST];
    if (length == 0) return false;
    if (picture.length != length) picture = new byte[length];
    copy(handle, picture);
    return true;
  }

  /** Planes Y, U and V, each of its rows times its stride; the array is used again. */
  public byte[] picture() {
    return picture;
  }

  public int width() {
    return (int) facts[FACT_WIDTH];
  }

  public int height() {
    return (int) facts[FACT_HEIGHT];
  }

  /** Bytes from row to row of Y. */
  public int strideY() {
    return (int) facts[FACT_STRIDE_Y];
  }

  /** Bytes from row to row of U and of V. */
  public int strideC() {
    return (int) facts[FACT_STRIDE_C];
  }

  public boolean isInterlaced() {
    return facts[FACT_INTERLACED] != 0;
  }

  public boolean isBottomFirst() {
    return facts[FACT_BOTTOM_FIRST] != 0;
  }

  /** True where the picture is not as it was coded. */
  public boolean isDamaged() {
    return facts[FACT_DAMAGED] != 0;
  }

  /** True when somebody knows the picture's time. */
  public boolean hasPts() {
    return facts[FACT_PTS] != NO_PTS;
  }

  /** In the stream's time base. */
  public long pts() {
    return facts[FACT_PTS];
  }

  /** In the stream's time base, 0 when unknown. */
  public long duration() {
    return facts[FACT_DURATION];
  }

  /** Pictures that could not be made so far, beside those of damaged packets. */
  public long lost() {
    return lost;
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native boolean knows(String codec);

  private static native long open(long reader, int matrix, boolean fullRange, int threads) throws MediaException;

  private static native boolean send(long handle, byte[] packet, long time, int flags);

  private static native void sendEnd(long handle);

  /** Bytes of the next picture, 0 when there is none; fills the facts. */
  private static native int receive(long handle, long[] facts);

  private static native void copy(long handle, byte[] into);

  private static native void close(long handle);
}
