package com.zarvo.qvs.host.session;

import java.util.concurrent.atomic.AtomicLong;

/** A number that the session's thread writes and any thread may read: no lock, and a moment late at worst. */
public final class Counter {
  private final AtomicLong value = new AtomicLong();

  public long get() {
    return value.getOpaque();
  }

  void set(long now) {
    value.setOpaque(now);
  }

  void add(long more) {
    value.setOpaque(value.getPlain() + more);
  }

  void raise(long atLeast) {
    if (atLeast > value.getPlain()) value.setOpaque(atLeast);
  }
}
