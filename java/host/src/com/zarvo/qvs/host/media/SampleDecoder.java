package com.zarvo.qvs.host.media;

import java.util.Arrays;

/**
 * Decodes audio with libavcodec into interleaved 16-bit samples, the channels in the usual speakers of their count: for
 * codecs that the transcoder has no decoder for.
 */
public final class SampleDecoder implements AutoCloseable {
  private static final int FACT_RATE = 0;
  private static final int FACT_CHANNELS = 1;
  private static final int FACT_PTS = 2;
  private static final int FACTS = 3;
  private static final long NO_PTS = Long.MIN_VALUE;

  private final long[] facts = new long[FACTS];
  private byte[] samples = {};
  private int length;
  private long handle;

  /** Refuses what libavcodec has no decoder for. */
  public SampleDecoder(AudioStreamInfo info) throws MediaException {
    handle = open(info.codecName(), info.config(), new AudioProperties(info));
  }

  /** Takes a packet; false when it is damaged. What came of it is to be received before the next one. */
  public boolean send(byte[] packet, long pts) {
    return send(handle, packet, pts);
  }

  /** The end: what the decoder held back can be received. */
  public void sendEnd() {
    send(handle, null, 0);
  }

  /** Moves to the next piece; false when there is none until more is sent. */
  public boolean receive() {
    length = receive(handle, facts);
    if (length == 0) return false;
    if (samples.length < length) samples = Arrays.copyOf(samples, length);
    copy(handle, samples);
    return true;
  }

  /** The piece; the array is used again and may be longer, see {@link #length}. */
  public byte[] samples() {
    return samples;
  }

  /** Bytes of the piece. */
  public int length() {
    return length;
  }

  public int sampleRate() {
    return (int) facts[FACT_RATE];
  }

  public int channels() {
    return (int) facts[FACT_CHANNELS];
  }

  /** True when the piece has a time of its own; otherwise it follows the one before. */
  public boolean hasPts() {
    return facts[FACT_PTS] != NO_PTS;
  }

  /** In the stream's time base. */
  public long pts() {
    return facts[FACT_PTS];
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long open(String codec, byte[] config, AudioProperties properties) throws MediaException;

  private static native boolean send(long handle, byte[] packet, long pts);

  /** Bytes of the next piece, 0 when there is none. */
  private static native int receive(long handle, long[] facts);

  private static native void copy(long handle, byte[] into);

  private static native void close(long handle);
}
