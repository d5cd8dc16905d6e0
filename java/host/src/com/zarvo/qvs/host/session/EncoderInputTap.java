package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import java.nio.ByteBuffer;

/** Copies single pictures of a session as they go to an encoder. On the session's own thread only. */
final class EncoderInputTap implements AutoCloseable {
  private final long session;
  private long handle;

  /** The session must outlive this. */
  EncoderInputTap(long session) throws HostException {
    NativeLibraries.loadListener();
    this.session = session;
    this.handle = attach(session);
    if (handle == 0) throw new HostException("the session cannot be watched");
  }

  /** Planes Y, U and V of the picture that is scaled next go there, rows without padding: so many bytes as told. */
  void ask(ByteBuffer direct, int length) {
    ask(handle, direct, length);
  }

  /** True where it came; nothing is asked for any more. */
  boolean taken() {
    return taken(handle);
  }

  @Override
  public void close() {
    if (handle != 0) detach(handle, session);
    handle = 0;
  }

  private static native long attach(long session);

  private static native void ask(long handle, ByteBuffer direct, int length);

  private static native boolean taken(long handle);

  private static native void detach(long handle, long session);
}
