package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;

/** Loads the native libraries beside the reading of the command line; closing waits until they are there. */
final class WarmUp implements AutoCloseable {
  private final Thread thread;

  private WarmUp(Thread thread) {
    this.thread = thread;
  }

  /** Starts where it is `wanted`, else there is nothing to wait for. */
  static WarmUp start(boolean wanted) {
    if (!wanted) return new WarmUp(null);
    Thread thread = new Thread(WarmUp::load, "warm-up");
    thread.setDaemon(true);
    thread.start();
    return new WarmUp(thread);
  }

  // Who needs them asks again, and tells why they don't load.
  private static void load() {
    try {
      NativeLibraries.loadTranscoder();
    } catch (HostException | LinkageError e) {
      return;
    }
  }

  @Override
  public void close() {
    if (thread == null) return;
    boolean interrupted = false;
    while (thread.isAlive()) {
      try {
        thread.join();
      } catch (InterruptedException e) {
        interrupted = true;
      }
    }
    if (interrupted) Thread.currentThread().interrupt();
  }
}
