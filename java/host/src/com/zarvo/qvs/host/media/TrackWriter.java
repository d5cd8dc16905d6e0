package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.bitstream.SpliceCue;
import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * What writers of all containers share: times that grow, pictures that know how long they last, codec configurations
 * that show only in the first packet, counts. Nothing is written before all configurations are known.
 */
public abstract class TrackWriter implements AutoCloseable {
  private final Path target;
  private final List<OutputTrack> tracks;
  private final FrameDurations[] durations;
  private final ParameterSets[] outOfBand;
  private final List<Waiting> waiting = new ArrayList<>();
  private final long[] lastDts;
  private final long[] ends;
  private final long[] packets;
  private final long[] bytes;
  private boolean begun;
  private boolean finished;

  /** A packet that came before the header could be written. */
  private record Waiting(int track, OutputPacket packet) {}

  TrackWriter(Path target, List<? extends OutputTrack> tracks) {
    this.target = target;
    this.tracks = new ArrayList<>(tracks);
    this.durations = new FrameDurations[tracks.size()];
    for (int i = 0; i < durations.length; i++)
      if (tracks.get(i) instanceof OutputTrack.Video) durations[i] = new FrameDurations();
    this.outOfBand = new ParameterSets[tracks.size()];
    this.lastDts = new long[tracks.size()];
    this.ends = new long[tracks.size()];
    Arrays.fill(ends, Long.MIN_VALUE);
    this.packets = new long[tracks.size()];
    this.bytes = new long[tracks.size()];
  }

  /** All tracks are known: writes what stands in front of packets. */
  abstract void begin(List<OutputTrack> known) throws IOException;

  /** One packet that is ready to go out. */
  abstract void deliver(int track, OutputPacket packet) throws IOException;

  /** No packet comes any more: completes the file under its own name. */
  abstract void complete() throws IOException;

  /** Begins at once where nothing is missing. */
  final void beginIfKnown() throws IOException {
    if (begun || lacksConfig()) return;
    begin(tracks);
    begun = true;
    List<Waiting> earlier = List.copyOf(waiting);
    waiting.clear();
    for (Waiting packet : earlier) deliver(packet.track, packet.packet);
  }

  private boolean lacksConfig() {
    return tracks.stream().anyMatch(track -> track instanceof OutputTrack.Video v && v.lacksConfig());
  }

  /** Appends one packet. Containers want growing times: one that does not grow is moved behind its forerunner. */
  public final void write(int track, OutputPacket packet) throws IOException {
    if (finished) throw new MediaException(target + ": writer is closed");
    // Pictures wait here: a range outside of their array would show only later.
    if (packet.offset() < 0 || packet.length() < 0 || packet.offset() > packet.data().length - packet.length())
      throw new MediaException(target + ": packet range lies outside its array");
    boolean late = packets[track] > 0 && packet.dts() <= lastDts[track];
    long dts = late ? lastDts[track] + 1 : packet.dts();
    lastDts[track] = dts;
    packets[track]++;
    bytes[track] += packet.length();
    if (tracks.get(track) instanceof OutputTrack.Video video && video.lacksConfig()) learnConfig(track, video, packet);
    OutputPacket placed = withoutKnownSets(track, packet).at(Math.max(packet.pts(), dts), dts);
    if (durations[track] == null) add(track, placed);
    else for (OutputPacket ready : durations[track].add(placed)) add(track, ready);
  }

  private void add(int track, OutputPacket packet) throws IOException {
    if (begun) {
      deliver(track, packet);
      return;
    }
    waiting.add(new Waiting(track, packet));
    beginIfKnown();
  }

  private void learnConfig(int track, OutputTrack.Video video, OutputPacket packet) throws MediaException {
    ParameterSets sets = new ParameterSets(video.isHevc());
    sets.update(unitsOf(packet));
    if (!sets.isComplete()) throw new MediaException(target + ": its first picture has no parameter sets");
    tracks.set(track, video.withConfig(sets.toRecord()));
    if (video.isHevc()) outOfBand[track] = sets;
  }

  /** The streams, of which one is to go on with the parameter sets of a packet of its own. */
  final List<OutputTrack> tracksFrom(int track, OutputPacket packet) {
    if (outOfBand[track] != null && tracks.get(track) instanceof OutputTrack.Video video) {
      outOfBand[track].update(unitsOf(packet));
      tracks.set(track, video.withConfig(outOfBand[track].toRecord()));
    }
    return tracks;
  }

  // Apple's players want H.265 whose sets stand in the configuration alone. Sets that it does not hold stay.
  private OutputPacket withoutKnownSets(int track, OutputPacket packet) {
    ParameterSets known = outOfBand[track];
    if (known == null || !packet.key()) return packet;
    byte[] rest = NalUnits.withLengths(known.leaveOutKnown(unitsOf(packet)), NalUnits.LENGTH_BYTES);
    return packet.holding(rest);
  }

  private static List<byte[]> unitsOf(OutputPacket packet) {
    return NalUnits.ofLengths(packet.data(), packet.offset(), packet.length(), NalUnits.LENGTH_BYTES);
  }

  /** Where a track's last picture stops being shown, in its unit; without it, it lasts as long as the one before. */
  public final void endAt(int track, long time) {
    ends[track] = time;
  }

  /** The pictures taken from here on have other parameter sets: where a container has to say so and can, it does. */
  public void changeParameterSets(ParameterSetChange change) {}

  /** A break begins or ends at the key picture of that time: where a container can say so, it does. */
  public void cue(SpliceCue cue, double seconds) {}

  /** Completes the file under its own name. */
  public final void finish() throws IOException {
    if (finished) throw new MediaException(target + ": writer is closed");
    for (int i = 0; i < durations.length; i++)
      if (durations[i] != null) for (OutputPacket ready : durations[i].finish(ends[i])) add(i, ready);
    if (!begun) throw new MediaException(target + ": no packet of its pictures came, nothing was written");
    complete();
    finished = true;
  }

  /** When the last packet taken of a track is decoded, in its unit. */
  final long lastDts(int track) {
    return lastDts[track];
  }

  final boolean isBegun() {
    return begun;
  }

  final boolean isFinished() {
    return finished;
  }

  /** What a stream's container was told, its configuration included once that is known. */
  public final OutputTrack track(int track) {
    return tracks.get(track);
  }

  /** Packets of a stream taken so far. */
  public final long packets(int track) {
    return packets[track];
  }

  /** Coded bytes of a stream taken so far, without those of the container. */
  public final long bytes(int track) {
    return bytes[track];
  }

  /** The file, or the folder of segments. */
  public final Path target() {
    return target;
  }

  /** Drops an unfinished file; what live segments there are stays. */
  @Override
  public abstract void close();

  // A folder of segments holds files only.
  static void deleteAll(Path path) throws IOException {
    if (Files.isDirectory(path, LinkOption.NOFOLLOW_LINKS)) {
      try (DirectoryStream<Path> files = Files.newDirectoryStream(path)) {
        for (Path file : files) Files.deleteIfExists(file);
      }
    }
    Files.deleteIfExists(path);
  }

  static void dropUnfinished(Path part) {
    try {
      deleteAll(part);
    } catch (IOException e) {
      System.err.println("qvs: " + part + ": cannot be deleted");
    }
  }
}
