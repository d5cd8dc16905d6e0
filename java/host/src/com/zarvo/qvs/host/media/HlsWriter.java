package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.model.Rational;
import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.time.Instant;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Deque;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.stream.Stream;

/**
 * Writes streams as a folder of segments with a playlist: H.265 in fragments of MP4, all else in MPEG-TS. A segment begins at a key picture; where there are no
 * pictures, before the first or after the last, at sound. Its length is told from the packets' own times.
 *
 * <p>A recording lies in a folder with an own ending until it is whole. A live folder has its own name from the start:
 * segments and playlist appear in it whole, the last ones are kept, and a run goes on where a former one stopped.
 */
public final class HlsWriter extends TrackWriter {
  // A key picture that comes a rounding early still ends a segment.
  private static final double TOLERANCE_SECONDS = 0.01;
  // Where one stream of a live run falls silent the others wait for it no longer than this and two of its pictures; in
  // a recording as long as what waits is no more than so many bytes.
  private static final double MAX_WAIT_SECONDS = 1;
  private static final long MAX_WAITING_BYTES = 64L << 20;
  // Pictures that stay away for more than this many segments have stopped.
  private static final double MAX_VIDEO_GAP_SEGMENTS = 2;

  private final Path folder;
  private final int window;
  private final double targetSeconds;
  private final HlsPlaylist playlist;
  private final List<Deque<OutputPacket>> queues = new ArrayList<>();
  private final Deque<HlsPlaylist.Segment> expired = new ArrayDeque<>();
  private final SegmentForm form;
  private final int videoTrack;
  private Muxer muxer;
  private String segmentName;
  private String initName;
  private long waitingBytes;
  private boolean firstSegment = true;
  private double segmentStart = Double.NaN;
  // Where a segment began last that no break began: all renditions have the next at the same distance.
  private double gridStart;
  private double end = Double.NEGATIVE_INFINITY;
  private boolean segmentHasVideo;
  private boolean videoOver;
  private double shiftSeconds;
  private double lastVideo = Double.NaN;
  private double frameSeconds;
  private boolean afterBreak;
  private double breakFrom = Double.POSITIVE_INFINITY;
  private Instant zero;
  private final HlsCues cues = new HlsCues();

  /**
   * Creates the folder.
   *
   * @param keyFrameSeconds distance of key pictures, and so the length of a segment
   * @param window how many segments a live playlist names; 0 for a recording
   */
  public static HlsWriter create(
      Path target, double keyFrameSeconds, int window, List<? extends OutputTrack> tracks) throws MediaException {
    Path folder = window > 0 ? target : WholeFile.partOf(target);
    HlsWriter writer = null;
    try {
      if (window == 0) deleteAll(folder);
      Files.createDirectories(folder);
      writer = new HlsWriter(target, folder, keyFrameSeconds, window, tracks);
      if (window > 0) writer.resume();
      writer.beginIfKnown();
      return writer;
    } catch (IOException e) {
      if (writer != null) writer.close();
      throw new MediaException(target + ": cannot create: " + WholeFile.reasonOf(e));
    }
  }

  private HlsWriter(
      Path target, Path folder, double keyFrameSeconds, int window, List<? extends OutputTrack> tracks) {
    super(target, tracks);
    this.folder = folder;
    this.window = window;
    this.targetSeconds = Math.max(TOLERANCE_SECONDS, keyFrameSeconds - TOLERANCE_SECONDS);
    this.playlist = new HlsPlaylist(keyFrameSeconds);
    this.form = SegmentForm.of(tracks);
    int video = -1;
    for (int i = 0; i < tracks.size(); i++) {
      queues.add(new ArrayDeque<>());
      if (tracks.get(i) instanceof OutputTrack.Video) video = i;
    }
    this.videoTrack = video;
  }

  private void resume() throws IOException {
    playlist.resume(HlsPlaylist.in(folder));
    afterBreak = !playlist.isEmpty();
    // Nothing takes back what a playlist says is read before all segments that follow.
    boolean maps = playlist.segments().stream().anyMatch(segment -> segment.map() != null);
    if (maps && form == SegmentForm.TRANSPORT_STREAM) playlist.keepLast(0);
    Set<String> kept = new HashSet<>();
    for (HlsPlaylist.Segment segment : playlist.segments()) kept.addAll(Arrays.asList(segment.name(), segment.map()));
    try (DirectoryStream<Path> files = Files.newDirectoryStream(folder, "{segment_*.ts*,segment_*.m4s*,init_*.mp4*}")) {
      for (Path file : files) if (!kept.contains(file.getFileName().toString())) Files.deleteIfExists(file);
    }
    // It must not name what is gone.
    if (playlist.isEmpty()) Files.deleteIfExists(HlsPlaylist.in(folder));
    else writePlaylist(false);
  }

  @Override
  void begin(List<OutputTrack> known) throws IOException {
    segmentName = nextName();
    // By the number of its first segment: those of former runs stay as long as segments need them.
    if (form == SegmentForm.FRAGMENTS) initName = String.format("init_%05d.mp4", playlist.nextSequence());
    String first = initName != null ? initName : segmentName;
    try {
      muxer = Muxer.open(partOf(first), form.muxer, true);
      form.options.forEach(muxer::option);
      for (OutputTrack track : known) muxer.add(track);
      muxer.begin(form == SegmentForm.FRAGMENTS);
      if (initName != null) muxer.cut(partOf(segmentName));
    } catch (MediaException e) {
      throw named(first, e);
    }
    if (initName != null) showWhole(initName);
  }

  private String nextName() {
    return String.format("segment_%05d.%s", playlist.nextSequence(), form.ending);
  }

  private void showWhole(String name) throws IOException {
    Files.move(Path.of(partOf(name)), folder.resolve(name), StandardCopyOption.REPLACE_EXISTING);
  }

  private String partOf(String name) {
    return folder.resolve(name + ".part").toString();
  }

  /** In transport streams each key picture carries its sets, fragments have theirs in the initialisation. */
  @Override
  public void changeParameterSets(ParameterSetChange change) {
    boolean told = change == ParameterSetChange.PROFILE || form == SegmentForm.FRAGMENTS;
    // What was taken before may still wait.
    if (told && change != ParameterSetChange.NONE && packets(videoTrack) > 0)
      breakFrom = seconds(videoTrack, lastDts(videoTrack));
  }

  @Override
  void deliver(int track, OutputPacket packet) throws IOException {
    queues.get(track).add(packet);
    waitingBytes += packet.length();
    drain(false);
  }

  // By time of decoding over all streams, as far as every stream has told what it has at that time.
  private void drain(boolean all) throws IOException {
    for (int track = earliest(); track >= 0 && (all || isDue(track)); track = earliest()) {
      if (videoTrack >= 0 && all) videoOver = queues.get(videoTrack).isEmpty();
      OutputPacket packet = queues.get(track).remove();
      waitingBytes -= packet.length();
      put(track, packet);
    }
  }

  private int earliest() {
    int earliest = -1;
    for (int i = 0; i < queues.size(); i++) {
      OutputPacket head = queues.get(i).peek();
      if (head != null && (earliest < 0 || turn(i, head) < turn(earliest, queues.get(earliest).peek())))
        earliest = i;
    }
    return earliest;
  }

  // A key picture's is when it is shown, that sound of the segment before goes there.
  private double turn(int track, OutputPacket packet) {
    return seconds(track, track == videoTrack && packet.key() ? packet.pts() : packet.dts());
  }

  private boolean isDue(int track) {
    double head = turn(track, queues.get(track).peek());
    double newest = head;
    boolean allTold = true;
    for (int i = 0; i < queues.size(); i++) {
      if (packets(i) == 0) {
        allTold = false;
        continue;
      }
      double told = seconds(i, lastDts(i));
      allTold &= !queues.get(i).isEmpty() || told > head;
      newest = Math.max(newest, told);
    }
    if (allTold) return true;
    return window > 0 ? newest - head > MAX_WAIT_SECONDS + 2 * frameSeconds : waitingBytes > MAX_WAITING_BYTES;
  }

  private double seconds(int track, long units) {
    return (double) units * track(track).timeBase().num() / track(track).timeBase().den();
  }

  private void put(int track, OutputPacket packet) throws IOException {
    double start = seconds(track, packet.pts());
    if (Double.isNaN(segmentStart)) {
      segmentStart = start;
      if (form == SegmentForm.FRAGMENTS) shiftSeconds = secondsBeforeZero(track, packet);
      cues.begin(start + TOLERANCE_SECONDS / 2);
      if (window > 0) zero = Instant.now().minusNanos(Math.round(start * 1e9));
    } else if (isBreak(track, packet)) {
      breakOff(start, packet);
    } else if (isCue(track, packet, start)) {
      cutAtCue(start);
    } else if (beginsSegment(track, packet, start)) {
      endSegment(start, true);
    }
    // Pictures that are coded after the first may be shown before it.
    if (firstSegment) gridStart = segmentStart = Math.min(segmentStart, start);
    if (track == videoTrack) {
      segmentHasVideo = true;
      lastVideo = start;
      frameSeconds = seconds(track, packet.duration());
    }
    end = Math.max(end, start + seconds(track, packet.duration()));
    try {
      muxer.write(track, placed(track, packet));
    } catch (MediaException e) {
      throw named(segmentName, e);
    }
  }

  private boolean isBreak(int track, OutputPacket packet) {
    return track == videoTrack && packet.key() && seconds(track, packet.dts()) > breakFrom;
  }

  /** The segment that begins with the key picture of that time says so. */
  @Override
  public void cue(SpliceCue cue, double seconds) {
    cues.add(cue, seconds);
  }

  private boolean isCue(int track, OutputPacket packet, double start) {
    return track == videoTrack && packet.key() && cues.isDue(start + TOLERANCE_SECONDS / 2);
  }

  // All renditions are cut there, and go on with the segments that were to come.
  private void cutAtCue(double start) throws IOException {
    double grid = gridStart;
    boolean lasted = start - grid >= targetSeconds;
    endSegment(start, true);
    if (!lasted) gridStart = grid;
    cues.begin(start + TOLERANCE_SECONDS / 2);
  }

  private void breakOff(double start, OutputPacket packet) throws IOException {
    boolean anew = form == SegmentForm.FRAGMENTS;
    double grid = gridStart;
    endSegment(start, !anew, true);
    gridStart = grid;
    afterBreak = true;
    breakFrom = Double.POSITIVE_INFINITY;
    if (!anew) return;
    muxer.close();
    begin(tracksFrom(videoTrack, packet));
  }

  // The muxer of fragments takes care of pictures that are decoded before zero, and nothing may be shown before it. That
  // of transport streams moves all by what the first packet lies before zero: sound by its codec's delay.
  private OutputPacket placed(int track, OutputPacket packet) {
    if (shiftSeconds == 0) return packet;
    Rational unit = track(track).timeBase();
    long shift = Math.round(shiftSeconds * unit.den() / unit.num());
    return packet.at(packet.pts() + shift, packet.dts() + shift);
  }

  private double secondsBeforeZero(int track, OutputPacket packet) {
    double first = seconds(track, packet.pts());
    for (int i = 0; i < queues.size(); i++)
      if (!queues.get(i).isEmpty()) first = Math.min(first, seconds(i, queues.get(i).peek().pts()));
    return Math.max(0, -first);
  }

  private boolean beginsSegment(int track, OutputPacket packet, double start) {
    double length = start - gridStart;
    boolean lasted = length >= targetSeconds;
    // What precedes the first picture is a segment of its own unless it is short.
    if (track == videoTrack) return packet.key() && (lasted || !segmentHasVideo && length >= targetSeconds / 2);
    if (videoOver) return lasted && restSeconds(track, start) >= targetSeconds / 2;
    boolean stopped = start - lastVideo > MAX_VIDEO_GAP_SEGMENTS * targetSeconds + MAX_WAIT_SECONDS;
    return lasted && (videoTrack < 0 || !segmentHasVideo || stopped);
  }

  private double restSeconds(int track, double start) {
    OutputPacket last = queues.get(track).peekLast();
    return last == null ? 0 : seconds(track, last.pts() + last.duration()) - start;
  }

  private void endSegment(double nextStart, boolean more) throws IOException {
    endSegment(nextStart, more, more);
  }

  /** `sameMuxer` goes on in the next segment; `more` says that there is one. */
  private void endSegment(double nextStart, boolean sameMuxer, boolean more) throws IOException {
    String name = segmentName;
    HlsPlaylist.Segment segment =
        new HlsPlaylist.Segment(
            name,
            Math.max(0, nextStart - segmentStart),
            zero == null ? null : zero.plusNanos(Math.round(segmentStart * 1e9)),
            afterBreak,
            initName,
            cues.tags(segmentStart, zero));
    playlist.add(segment);
    segmentName = nextName();
    try {
      if (sameMuxer) muxer.cut(partOf(segmentName));
      else muxer.finish();
    } catch (MediaException e) {
      throw named(name, e);
    }
    showWhole(name);
    afterBreak = false;
    gridStart = segmentStart = nextStart;
    firstSegment = false;
    segmentHasVideo = false;
    if (window > 0) publish(!more);
  }

  private void publish(boolean ended) throws IOException {
    expired.addAll(playlist.keepLast(window));
    writePlaylist(ended);
    // Who fetched a playlist may still fetch all that it named.
    while (expired.size() > window) delete(expired.remove());
  }

  private void delete(HlsPlaylist.Segment gone) throws IOException {
    Files.deleteIfExists(folder.resolve(gone.name()));
    String map = gone.map();
    if (map == null || map.equals(initName)) return;
    boolean needed = Stream.concat(expired.stream(), playlist.segments().stream()).anyMatch(s -> map.equals(s.map()));
    if (!needed) Files.deleteIfExists(folder.resolve(map));
  }

  private void writePlaylist(boolean ended) throws IOException {
    try (WholeFile file = WholeFile.create(HlsPlaylist.in(folder))) {
      file.write(playlist.text(ended, window == 0));
    }
  }

  private MediaException named(String name, MediaException e) {
    return new MediaException(target().resolve(name) + ": " + e.getMessage());
  }

  @Override
  void complete() throws IOException {
    drain(true);
    if (!Double.isNaN(segmentStart)) endSegment(end, false);
    muxer.close();
    if (window > 0) return;
    writePlaylist(true);
    deleteAll(target());
    Files.move(folder, target(), StandardCopyOption.REPLACE_EXISTING);
  }

  @Override
  public void close() {
    if (muxer != null) muxer.close();
    if (isFinished()) return;
    if (window == 0) {
      dropUnfinished(folder);
      return;
    }
    for (String name : new String[] {initName, segmentName}) if (name != null) dropUnfinished(Path.of(partOf(name)));
  }
}
