package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.ImageFormat;
import java.nio.ByteBuffer;

/** Writes pictures of B, G, R, A as image files. */
public final class ImageEncoder implements AutoCloseable {
  private long handle;

  public ImageEncoder(ImageFormat format) throws MediaException {
    handle = create(format.ordinal());
  }

  /** A file's bytes. `pixels` is direct, in rows without padding from its start. */
  public byte[] encode(ByteBuffer pixels, int width, int height) throws MediaException {
    return encode(handle, pixels, width, height);
  }

  @Override
  public void close() {
    if (handle != 0) close(handle);
    handle = 0;
  }

  private static native long create(int format) throws MediaException;

  private static native byte[] encode(long handle, ByteBuffer pixels, int width, int height) throws MediaException;

  private static native void close(long handle);
}
