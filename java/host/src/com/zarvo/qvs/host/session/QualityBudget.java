package com.zarvo.qvs.host.session;

import com.sun.management.OperatingSystemMXBean;
import java.lang.management.ManagementFactory;

/** Keeps what all sessions of the process measure within a share of its CPU time. Asked once a group of pictures. */
final class QualityBudget {
  private static final OperatingSystemMXBean SYSTEM = (OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();
  private static final QualityBudget SHARED = new QualityBudget();

  private long spentNs;
  private long begun;
  private long ended;

  private QualityBudget() {}

  static QualityBudget shared() {
    return SHARED;
  }

  /** True where one more run, as dear as those before, stays within so many percent; it then counts as begun. */
  synchronized boolean begin(double percent) {
    long active = begun - ended;
    // The first tells what they cost.
    if (ended == 0 && active > 0 && percent < 100) return false;
    double mean = ended == 0 ? 0 : (double) spentNs / ended;
    double expected = mean * (begun + 1);
    if (percent < 100 && Math.max(expected, spentNs) > percent / 100 * SYSTEM.getProcessCpuTime()) return false;
    begun++;
    return true;
  }

  synchronized void spent(long ns) {
    spentNs += ns;
  }

  synchronized void end() {
    ended++;
  }
}
