package com.zarvo.qvs.host.media;

import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;

/**
 * The user's wish that running work ends. A signal that ends the virtual machine (SIGINT, SIGTERM, SIGHUP) becomes
 * such a wish: the machine waits for the work's end and goes with the signal's exit code, 128 and its number.
 */
public final class Interruption implements AutoCloseable {
  // Encoders and containers are finished in a moment; this is for a disk that hangs.
  private static final long PATIENCE_SECONDS = 60;

  private final CountDownLatch over = new CountDownLatch(1);
  private Thread hook;
  private Runnable action;
  private volatile boolean requested;

  /** From now on signals count, until {@link #close}. */
  public void listen() {
    if (hook != null) return;
    hook = new Thread(this::endInPeace, "interruption");
    Runtime.getRuntime().addShutdownHook(hook);
  }

  private void endInPeace() {
    request();
    try {
      over.await(PATIENCE_SECONDS, TimeUnit.SECONDS);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  /** Any thread: asks the work to end. */
  public synchronized void request() {
    requested = true;
    if (action != null) action.run();
  }

  /** True once the work is to end. */
  public boolean requested() {
    return requested;
  }

  /** What wakes work that waits, run by the thread that asks; null when nothing waits any more. */
  public synchronized void onRequest(Runnable wake) {
    action = wake;
    if (requested && wake != null) wake.run();
  }

  /** The work is over and has said all that it had to say. */
  @Override
  public void close() {
    over.countDown();
    if (hook == null) return;
    try {
      Runtime.getRuntime().removeShutdownHook(hook);
    } catch (IllegalStateException e) {
      // The virtual machine is on its way out: it was waiting for this.
    }
  }
}
