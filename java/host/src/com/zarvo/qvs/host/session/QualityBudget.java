package com.zarvo.qvs.host.session;

import com.sun.management.OperatingSystemMXBean;
import java.lang.management.ManagementFactory;

/**
 * Keeps what all sessions of the process measure within a share of the CPU time that the process takes while any of them
 * is being watched. Asked once a group of pictures.
 */
final class QualityBudget {
  private static final OperatingSystemMXBean SYSTEM = (OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();
  private static final QualityBudget SHARED = new QualityBudget();
  // What decoding and comparing cost until the first run has told.
  private static final double GUESSED_NS_A_PIXEL = 2;
  private static final double NO_LIMIT = 100;

  private int watches;
  private long resumedNs;
  private long watchedNs;
  private long spentNs;
  private double pendingPixels;
  private double donePixels;

  private QualityBudget() {}

  static QualityBudget shared() {
    return SHARED;
  }

  /** A session is watched from now on. */
  synchronized void open() {
    if (watches++ == 0) resumedNs = SYSTEM.getProcessCpuTime();
  }

  synchronized void close() {
    if (--watches == 0) watchedNs += SYSTEM.getProcessCpuTime() - resumedNs;
  }

  /** True where a run over so many pixels stays within so many percent; it then counts as begun. */
  synchronized boolean begin(double percent, double pixels) {
    double nsAPixel = donePixels == 0 ? GUESSED_NS_A_PIXEL : spentNs / donePixels;
    double expectedNs = Math.max(spentNs, donePixels * nsAPixel) + (pendingPixels + pixels) * nsAPixel;
    double allowedNs = percent / 100 * (watchedNs + SYSTEM.getProcessCpuTime() - resumedNs);
    if (percent < NO_LIMIT && expectedNs > allowedNs) return false;
    pendingPixels += pixels;
    return true;
  }

  synchronized void spent(long ns) {
    spentNs += ns;
  }

  /** A run has ended. */
  synchronized void end(double pixels) {
    pendingPixels -= pixels;
    donePixels += pixels;
  }
}
