package com.zarvo.qvs.api;

import java.lang.ref.Cleaner;
import java.util.Arrays;
import java.util.stream.Collectors;

/** Closes what an object holds when its owner does, or when nobody has the object any more: that is told in the log. */
final class Custody implements Runnable {
  private static final Cleaner CLEANER = Cleaner.create();

  private final String what;
  private final Throwable made = new Throwable();
  private final Runnable release;
  private Cleaner.Cleanable cleanable;
  private volatile boolean closed;

  private Custody(String what, Runnable release) {
    this.what = what;
    this.release = release;
  }

  /** `release` must not lead back to `owner`, which else would never be let go. */
  static Custody of(Object owner, String what, Runnable release) {
    Custody custody = new Custody(what, release);
    custody.cleanable = CLEANER.register(owner, custody);
    return custody;
  }

  void close() {
    closed = true;
    cleanable.clean();
  }

  @Override
  public void run() {
    if (!closed) LogSinks.warn(what, what + " was not closed by its owner and is closed now; it was made" + place());
    release.run();
  }

  // Without the frames of this package, which are the same for all.
  private String place() {
    String own = Custody.class.getPackageName() + ".";
    return Arrays.stream(made.getStackTrace())
        .filter(frame -> !frame.getClassName().startsWith(own))
        .map(frame -> "\n\tat " + frame)
        .collect(Collectors.joining());
  }
}
