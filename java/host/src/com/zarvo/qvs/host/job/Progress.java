package com.zarvo.qvs.host.job;

import java.io.PrintStream;
import java.util.Locale;

/** Tells how far long work is: a bar that rewrites itself on a terminal, a plain line now and then elsewhere. */
public final class Progress {
  private static final long BAR_INTERVAL_NS = 200_000_000L;
  private static final long LINE_INTERVAL_NS = 5_000_000_000L;
  private static final int BAR_WIDTH = 32;

  private final PrintStream out;
  private final boolean terminal;
  private final long totalMs;
  private final long startNs = System.nanoTime();
  private long shownNs = startNs;
  private boolean barShown;
  private String also = "";

  /** A total of -1 means that the length is unknown. */
  public Progress(PrintStream out, boolean terminal, long totalMs) {
    this.out = out;
    this.terminal = terminal;
    this.totalMs = totalMs;
  }

  /** Tells in words of the caller's how far it is. */
  public void update(long doneMs, String figures) {
    long now = System.nanoTime();
    if (now - shownNs < (terminal ? BAR_INTERVAL_NS : LINE_INTERVAL_NS)) return;
    shownNs = now;
    show(doneMs, figures);
  }

  void update(long doneMs, long frames) {
    long now = System.nanoTime();
    if (now - shownNs < (terminal ? BAR_INTERVAL_NS : LINE_INTERVAL_NS)) return;
    shownNs = now;
    show(doneMs, frames, now);
  }

  /** What is told beside the figures from now on; "" for nothing. */
  void also(String text) {
    also = text;
  }

  /** The last word: ends the bar's line. */
  void finish(long doneMs, long frames) {
    if (terminal) show(doneMs, frames, System.nanoTime());
    close();
  }

  /** Says something in a line of its own. */
  public void say(String line) {
    close();
    out.println("qvs: " + line);
  }

  /** Leaves the line of the bar, so that what is printed next starts on a line of its own. */
  public void close() {
    if (barShown) out.println();
    barShown = false;
  }

  private void show(long doneMs, long frames, long now) {
    double seconds = Math.max(1e-3, (now - startNs) / 1e9);
    String figures =
        String.format(
            Locale.ROOT,
            "%.1f s%s, %.1fx%s",
            doneMs / 1000.0,
            frames > 0 ? ", " + frames + " pictures" : "",
            doneMs / 1000.0 / seconds,
            also.isEmpty() ? "" : ", " + also);
    show(doneMs, figures);
  }

  private void show(long doneMs, String figures) {
    String text = totalMs > 0 ? percent(doneMs) + " " + figures : figures;
    if (terminal) {
      out.print("\r\033[K" + (totalMs > 0 ? bar(doneMs) : "") + text);
      out.flush();
      barShown = true;
    } else {
      out.println(text);
    }
  }

  private String percent(long doneMs) {
    return String.format(Locale.ROOT, "%3d %%", Math.min(100, Math.max(0, 100 * doneMs / totalMs)));
  }

  private String bar(long doneMs) {
    int filled = (int) Math.min(BAR_WIDTH, Math.max(0, BAR_WIDTH * doneMs / totalMs));
    return "[" + "#".repeat(filled) + "-".repeat(BAR_WIDTH - filled) + "] ";
  }
}
