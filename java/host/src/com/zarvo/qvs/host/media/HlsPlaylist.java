package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Container;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Instant;
import java.time.format.DateTimeParseException;
import java.time.temporal.ChronoUnit;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/** The playlist of one rendition: which segments there are, how long each is, and since when. */
final class HlsPlaylist {
  private static final String DURATION = "#EXTINF:";
  private static final String SEQUENCE = "#EXT-X-MEDIA-SEQUENCE:";
  private static final String DISCONTINUITY_SEQUENCE = "#EXT-X-DISCONTINUITY-SEQUENCE:";
  private static final String DISCONTINUITY = "#EXT-X-DISCONTINUITY";
  private static final String DATE = "#EXT-X-PROGRAM-DATE-TIME:";
  private static final String TARGET = "#EXT-X-TARGETDURATION:";
  private static final String MAP = "#EXT-X-MAP:URI=";

  /**
   * A segment.
   *
   * @param seconds from its beginning to that of the next one, or to the end of its last picture or sound
   * @param time when it began, null where that is not told
   * @param afterBreak true where it does not go on from the one before
   * @param map the file that players read before it, null for none
   * @param cues lines on breaks of the programme that stand in front of it
   */
  record Segment(String name, double seconds, Instant time, boolean afterBreak, String map, List<String> cues) {
    private boolean isIn(Path folder) {
      boolean mapped = map == null || Files.isRegularFile(folder.resolve(map));
      return mapped && Files.isRegularFile(folder.resolve(name));
    }
  }

  private final List<Segment> segments = new ArrayList<>();
  private long firstSequence;
  private long breaksBefore;
  private long targetSeconds;

  /** An empty playlist; `targetSeconds` is what no segment is meant to exceed. */
  HlsPlaylist(double targetSeconds) {
    this.targetSeconds = Math.max(1, Math.round(targetSeconds));
  }

  /** Takes over what a former run left, as far as its segments are still there. */
  void resume(Path file) throws IOException {
    if (!Files.isReadable(file)) return;
    double seconds = -1;
    Instant time = null;
    boolean afterBreak = false;
    String map = null;
    List<String> cues = new ArrayList<>();
    for (String line : Files.readAllLines(file)) {
      if (line.startsWith(SEQUENCE)) firstSequence = number(line, SEQUENCE, 0);
      else if (line.startsWith(DISCONTINUITY_SEQUENCE)) breaksBefore = number(line, DISCONTINUITY_SEQUENCE, 0);
      else if (line.startsWith(TARGET)) targetSeconds = Math.max(targetSeconds, number(line, TARGET, 1));
      else if (line.equals(DISCONTINUITY)) afterBreak = true;
      else if (line.startsWith(MAP)) map = line.substring(MAP.length()).replace("\"", "");
      else if (line.startsWith(DATE)) time = instant(line.substring(DATE.length()));
      else if (line.startsWith(DURATION)) seconds = seconds(line);
      else if (HlsCues.isOne(line)) cues.add(line);
      else if (!line.isBlank() && !line.startsWith("#")) {
        Segment segment = new Segment(line, seconds, time, afterBreak, map, List.copyOf(cues));
        if (seconds >= 0 && segment.isIn(file.getParent())) segments.add(segment);
        else skipTo(segments.size());
        seconds = -1;
        cues.clear();
        time = null;
        afterBreak = false;
      }
    }
  }

  // A segment that is gone takes those before it out of the list.
  private void skipTo(int count) {
    for (int i = 0; i < count; i++) dropFirst();
    firstSequence++;
  }

  private static long number(String line, String tag, long otherwise) {
    try {
      return Long.parseLong(line.substring(tag.length()).trim());
    } catch (NumberFormatException e) {
      return otherwise;
    }
  }

  private static double seconds(String line) {
    try {
      return Double.parseDouble(line.substring(DURATION.length()).split(",")[0]);
    } catch (NumberFormatException e) {
      return -1;
    }
  }

  private static Instant instant(String text) {
    try {
      return Instant.parse(text);
    } catch (DateTimeParseException e) {
      return null;
    }
  }

  /** The number of the segment to come, counted over all runs. */
  long nextSequence() {
    return firstSequence + segments.size();
  }

  List<Segment> segments() {
    return List.copyOf(segments);
  }

  boolean isEmpty() {
    return segments.isEmpty();
  }

  void add(Segment segment) {
    segments.add(segment);
    targetSeconds = Math.max(targetSeconds, Math.round(segment.seconds));
  }

  /** Names the last `count` segments only; those that went. */
  List<Segment> keepLast(int count) {
    List<Segment> gone = new ArrayList<>();
    while (segments.size() > count) gone.add(dropFirst());
    return gone;
  }

  private Segment dropFirst() {
    Segment first = segments.remove(0);
    firstSequence++;
    if (first.afterBreak) breaksBefore++;
    return first;
  }

  /** The text; `ended` says that nothing follows, `recording` that it is all there was. */
  String text(boolean ended, boolean recording) {
    StringBuilder text = new StringBuilder("#EXTM3U\n#EXT-X-VERSION:6\n");
    text.append(TARGET).append(targetSeconds).append('\n');
    text.append(SEQUENCE).append(firstSequence).append('\n');
    if (breaksBefore > 0) text.append(DISCONTINUITY_SEQUENCE).append(breaksBefore).append('\n');
    if (recording) text.append("#EXT-X-PLAYLIST-TYPE:VOD\n");
    text.append("#EXT-X-INDEPENDENT-SEGMENTS\n");
    String map = null;
    for (Segment segment : segments) {
      if (segment.afterBreak) text.append(DISCONTINUITY).append('\n');
      if (segment.map != null && !segment.map.equals(map))
        text.append(MAP).append('"').append(segment.map).append("\"\n");
      map = segment.map;
      if (segment.time != null) text.append(DATE).append(segment.time.truncatedTo(ChronoUnit.MILLIS)).append('\n');
      for (String cue : segment.cues) text.append(cue).append('\n');
      text.append(String.format(Locale.ROOT, "%s%.6f,\n", DURATION, segment.seconds)).append(segment.name).append('\n');
    }
    if (ended) text.append("#EXT-X-ENDLIST\n");
    return text.toString();
  }

  /** The playlist's file in a folder of segments. */
  static Path in(Path folder) {
    return folder.resolve(Container.PLAYLIST);
  }
}
