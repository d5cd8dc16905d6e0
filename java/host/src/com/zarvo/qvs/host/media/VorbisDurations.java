package com.zarvo.qvs.host.media;

/** Tells how many samples the packets of a Vorbis stream give. */
public final class VorbisDurations implements AutoCloseable {
  private long handle;
  private boolean started;

  /** `config` holds the headers as containers keep them. */
  public VorbisDurations(byte[] config) throws MediaException {
    handle = open(config);
  }

  /** Samples of the next packet; the first gives none. */
  public int next(byte[] packet) {
    int samples = duration(handle, packet);
    if (!started) samples = 0;
    started = true;
    return samples;
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long open(byte[] config) throws MediaException;

  private static native int duration(long handle, byte[] packet);

  private static native void close(long handle);
}
