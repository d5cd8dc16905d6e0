package com.zarvo.qvs.host;

import java.util.Locale;

/** What the commands print alike. */
final class Console {
  private Console() {}

  /** Progress goes to standard error, as a bar when a person watches. */
  static Progress progress(long totalMs) {
    return new Progress(System.err, System.console() != null, totalMs);
  }

  static void printRenditions(JobResult result) {
    System.out.printf("%-12s %-5s %9s %12s %8s  %s%n", "size", "codec", "pictures", "bit rate", "speed", "file");
    for (JobResult.Rendition rendition : result.renditions()) System.out.println(row(result, rendition));
    if (result.contactSheet() != null) System.out.println("contact sheet: " + result.contactSheet());
  }

  private static String row(JobResult result, JobResult.Rendition rendition) {
    return String.format(
        Locale.ROOT,
        "%-12s %-5s %9d %7.0f kb/s %7.1fx  %s",
        rendition.spec().sizeText(),
        rendition.spec().codec().codecName,
        rendition.pictures(),
        rendition.bitRate(result.mediaMs()) / 1000,
        result.speed(),
        rendition.file());
  }

  /** Log lines that tell of trouble. */
  static void printTrouble(Iterable<SessionLog.Line> lines) {
    for (SessionLog.Line line : lines) if (line.level() >= SessionLog.WARN) System.err.println("qvs: " + line.text());
  }
}
