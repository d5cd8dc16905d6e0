package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;

/**
 * Sees the decoded pictures of a session as they lie in its pool, through a native listener that is registered with
 * the library's notification manager.
 */
public final class FrameTap implements AutoCloseable {
  private final long session;
  private long handle;
  private byte[] bytes = {};

  /** Starts to watch a session; the session must outlive this. */
  public FrameTap(long session) throws HostException {
    NativeLibraries.loadListener();
    this.session = session;
    this.handle = attach(session);
    if (handle == 0) throw new HostException("the session cannot be watched");
  }

  /**
   * Planes Y, U and V of the last picture, rows without padding, half sizes rounded down. The array is reused and may
   * be longer than the picture, see {@link #length}.
   */
  public byte[] lastFrame() {
    int size = length();
    if (bytes.length < size) bytes = new byte[size];
    copy(handle, bytes);
    return bytes;
  }

  /** Bytes of the last picture. */
  public int length() {
    return length(handle);
  }

  @Override
  public void close() {
    if (handle != 0) detach(handle, session);
    handle = 0;
  }

  private static native long attach(long session);

  private static native int length(long handle);

  private static native void copy(long handle, byte[] bytes);

  private static native void detach(long handle, long session);
}
