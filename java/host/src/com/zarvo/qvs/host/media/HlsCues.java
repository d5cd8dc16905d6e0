package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.bitstream.SpliceCue;
import java.time.Instant;
import java.time.temporal.ChronoUnit;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/** What a playlist says of breaks in the programme: in front of the segments that begin and end one, and of those in it. */
final class HlsCues {
  private static final String OUT = "#EXT-X-CUE-OUT:";
  private static final String WITHIN = "#EXT-X-CUE-OUT-CONT:";
  private static final String IN = "#EXT-X-CUE-IN";
  private static final String RANGE = "#EXT-X-DATERANGE:";

  private record Due(SpliceCue cue, double seconds) {}

  private final List<Due> waiting = new ArrayList<>();
  private final List<Due> begun = new ArrayList<>();
  private Due open;

  static boolean isOne(String line) {
    return line.startsWith("#EXT-X-CUE-") || line.startsWith(RANGE);
  }

  void add(SpliceCue cue, double seconds) {
    waiting.add(new Due(cue, seconds));
  }

  boolean isDue(double seconds) {
    return waiting.stream().anyMatch(due -> due.seconds <= seconds);
  }

  /** A segment begins here: it takes what is due. */
  void begin(double seconds) {
    for (Due due : waiting) if (due.seconds <= seconds) begun.add(due);
    waiting.removeAll(begun);
  }

  /** The lines of the segment that began there; `zero` is the time of day of 0, null where nobody is told. */
  List<String> tags(double start, Instant zero) {
    List<String> lines = new ArrayList<>();
    if (begun.isEmpty() && open != null) {
      double length = open.cue.durationMs() / 1000.0;
      String planned = length > 0 ? String.format(Locale.ROOT, ",Duration=%.3f", length) : "";
      lines.add(String.format(Locale.ROOT, "%sElapsedTime=%.3f%s", WITHIN, start - open.seconds, planned));
    }
    for (Due due : begun) addTags(due, zero, lines);
    begun.clear();
    return lines;
  }

  private void addTags(Due due, Instant zero, List<String> lines) {
    SpliceCue cue = due.cue;
    double length = cue.durationMs() / 1000.0;
    if (zero != null) lines.add(range(due, zero));
    if (cue.out()) lines.add(length > 0 ? String.format(Locale.ROOT, "%s%.3f", OUT, length) : OUT.replace(":", ""));
    else lines.add(IN);
    open = cue.out() ? due : null;
  }

  private String range(Due due, Instant zero) {
    SpliceCue cue = due.cue;
    Due began = cue.out() || open == null ? due : open;
    StringBuilder line = new StringBuilder(RANGE);
    line.append("ID=\"splice-").append(cue.eventId()).append("\",START-DATE=\"").append(at(began, zero)).append('"');
    if (cue.out() && cue.durationMs() > 0)
      line.append(String.format(Locale.ROOT, ",PLANNED-DURATION=%.3f", cue.durationMs() / 1000.0));
    if (!cue.out()) line.append(",END-DATE=\"").append(at(due, zero)).append('"');
    return line.append(cue.out() ? ",SCTE35-OUT=0x" : ",SCTE35-IN=0x").append(cue.section()).toString();
  }

  private static Instant at(Due due, Instant zero) {
    return zero.plusNanos(Math.round(due.seconds * 1e9)).truncatedTo(ChronoUnit.MILLIS);
  }
}
