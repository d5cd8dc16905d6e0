package com.zarvo.qvs.host.model;

/**
 * Keeps what native code prints on standard error off the user's screen until it is closed: the transcoder tells there,
 * at each start, which accelerators it did not find. Java's own standard error is silent meanwhile too.
 */
final class SilencedStderr {
  private int saved;

  /** The container library has to be loaded. */
  SilencedStderr() {
    saved = mute();
  }

  public void close() {
    if (saved >= 0) restore(saved);
    saved = -1;
  }

  /** Returns a descriptor of the true standard error, -1 when nothing was changed. */
  private static native int mute();

  private static native void restore(int saved);
}
