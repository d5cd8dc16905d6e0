package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.model.Container;
import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;

/**
 * Writes streams into a container. The bytes go into a file, or a folder of segments, with an own ending and ".part" behind its name,
 * which takes its own name in {@link #finish}: what stands under the final name is always whole. Only a folder of live
 * segments has its own name from the start, so that it can be played while it grows.
 *
 * <p>Where a stream's configuration shows only in its first packet, nothing is written before that.
 */
public final class MediaWriter implements AutoCloseable {
  private final Path target;
  private final Path part;
  private final boolean keepTimes;
  private final List<OutputTrack> tracks;
  private final List<Waiting> waiting = new ArrayList<>();
  private final long[] lastDts;
  private final long[] packets;
  private final long[] bytes;
  private boolean begun;
  private long handle;

  /** A packet that came before the header could be written. */
  private record Waiting(int track, OutputPacket packet) {}

  private MediaWriter(Path target, Path part, long handle, List<? extends OutputTrack> tracks, boolean keepTimes) {
    this.target = target;
    this.part = part;
    this.handle = handle;
    this.tracks = new ArrayList<>(tracks);
    this.keepTimes = keepTimes;
    this.lastDts = new long[tracks.size()];
    this.packets = new long[tracks.size()];
    this.bytes = new long[tracks.size()];
  }

  /**
   * Creates the file.
   *
   * @param format a container as libavformat names it
   * @param tracks the streams; their numbers are their places in this list
   * @param keepTimes true when no time lies before 0 but by a codec's delay: the container then moves none
   */
  public static MediaWriter create(Path target, String format, List<? extends OutputTrack> tracks, boolean keepTimes)
      throws MediaException {
    Path part = WholeFile.partOf(target);
    return create(target, part, part, format, Map.of(), tracks, keepTimes);
  }

  /**
   * Creates a file or a folder in a container's own form; its settings are made for the key picture distance.
   *
   * @param window 0, or how many of its last segments a live folder's playlist names
   */
  public static MediaWriter create(
      Path target,
      Container container,
      double keyFrameSeconds,
      int window,
      List<? extends OutputTrack> tracks,
      boolean keepTimes)
      throws MediaException {
    Path part = window > 0 ? target : WholeFile.partOf(target);
    Path file = part;
    if (container.isFolder()) {
      file = part.resolve(Container.PLAYLIST);
      try {
        deleteAll(part);
        Files.createDirectories(part);
      } catch (IOException e) {
        throw new MediaException(target + ": cannot create");
      }
    }
    return create(
        target, part, file, container.muxer, container.options(part, keyFrameSeconds, window), tracks, keepTimes);
  }

  private static MediaWriter create(
      Path target,
      Path part,
      Path file,
      String format,
      Map<String, String> options,
      List<? extends OutputTrack> tracks,
      boolean keepTimes)
      throws MediaException {
    MediaWriter writer = null;
    try {
      writer = new MediaWriter(target, part, create(file.toString(), format), tracks, keepTimes);
      if (!writer.isLive()) part.toFile().deleteOnExit();
      for (Map.Entry<String, String> option : options.entrySet())
        setOption(writer.handle, option.getKey(), option.getValue());
      if (!writer.lacksConfig()) writer.begin();
      return writer;
    } catch (MediaException e) {
      if (writer != null) writer.close();
      throw new MediaException(target + ": " + e.getMessage());
    }
  }

  private boolean isLive() {
    return part.equals(target);
  }

  private boolean lacksConfig() {
    return tracks.stream().anyMatch(track -> track instanceof OutputTrack.Video v && v.lacksConfig());
  }

  private void begin() throws MediaException {
    for (OutputTrack track : tracks) add(handle, track);
    begin(handle, keepTimes);
    begun = true;
  }

  private static void add(long handle, OutputTrack track) throws MediaException {
    if (track instanceof OutputTrack.Video video)
      addVideo(handle, track.codecName(), track.config(), new VideoProperties(video));
    else if (track instanceof OutputTrack.Audio audio)
      addAudio(handle, track.codecName(), track.config(), new AudioProperties(audio));
  }

  /** Appends one packet. Containers want growing times: one that does not grow is moved behind its forerunner. */
  public void write(int track, OutputPacket packet) throws MediaException {
    if (handle == 0) throw new MediaException(target + ": writer is closed");
    if (begun) {
      writeNow(track, packet);
      return;
    }
    waiting.add(new Waiting(track, packet));
    if (tracks.get(track) instanceof OutputTrack.Video video && video.lacksConfig()) learnConfig(track, video, packet);
    if (lacksConfig()) return;
    try {
      begin();
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
    for (Waiting earlier : waiting) writeNow(earlier.track, earlier.packet);
    waiting.clear();
  }

  private void learnConfig(int track, OutputTrack.Video video, OutputPacket packet) throws MediaException {
    ParameterSets sets = new ParameterSets(false);
    sets.update(NalUnits.ofLengths(packet.data(), packet.offset(), packet.length(), NalUnits.LENGTH_BYTES));
    if (!sets.isComplete()) throw new MediaException(target + ": its first picture has no parameter sets");
    tracks.set(track, video.withConfig(sets.toRecord()));
  }

  private void writeNow(int track, OutputPacket packet) throws MediaException {
    boolean late = packets[track] > 0 && packet.dts() <= lastDts[track];
    long dts = late ? lastDts[track] + 1 : packet.dts();
    long pts = Math.max(packet.pts(), dts);
    try {
      write(
          handle, track, packet.data(), packet.offset(), packet.length(), pts, dts, packet.duration(),
          packet.discard(), packet.key());
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
    lastDts[track] = dts;
    packets[track]++;
    bytes[track] += packet.length();
  }

  /** Completes the file under its own name. */
  public void finish() throws IOException {
    if (handle == 0) throw new MediaException(target + ": writer is closed");
    if (!begun) throw new MediaException(target + ": no packet of its pictures came, nothing was written");
    try {
      finish(handle);
    } catch (MediaException e) {
      throw new MediaException(target + ": " + e.getMessage());
    }
    close(handle);
    handle = 0;
    if (isLive()) return;
    if (Files.isDirectory(part)) deleteAll(target);
    Files.move(part, target, StandardCopyOption.REPLACE_EXISTING);
  }

  /** What a stream's container was told, its configuration included once that is known. */
  public OutputTrack track(int track) {
    return tracks.get(track);
  }

  /** Packets of a stream written so far. */
  public long packets(int track) {
    return packets[track];
  }

  /** Coded bytes of a stream written so far, without those of the container. */
  public long bytes(int track) {
    return bytes[track];
  }

  public Path target() {
    return target;
  }

  /** Drops an unfinished file; what live segments there are stays. */
  @Override
  public void close() {
    if (handle == 0) return;
    close(handle);
    handle = 0;
    if (isLive() && begun) return;
    try {
      deleteAll(part);
    } catch (IOException e) {
      System.err.println("qvs: " + part + ": cannot be deleted");
    }
  }

  // A folder of segments holds files only.
  private static void deleteAll(Path path) throws IOException {
    if (Files.isDirectory(path, LinkOption.NOFOLLOW_LINKS)) {
      try (DirectoryStream<Path> files = Files.newDirectoryStream(path)) {
        for (Path file : files) Files.deleteIfExists(file);
      }
    }
    Files.deleteIfExists(path);
  }

  private static native long create(String path, String format) throws MediaException;

  private static native void addVideo(long handle, String codec, byte[] config, VideoProperties properties)
      throws MediaException;

  private static native void addAudio(long handle, String codec, byte[] config, AudioProperties properties)
      throws MediaException;

  private static native void setOption(long handle, String name, String value);

  private static native void begin(long handle, boolean keepTimes) throws MediaException;

  private static native void write(
      long handle,
      int track,
      byte[] data,
      int offset,
      int length,
      long pts,
      long dts,
      long duration,
      long discard,
      boolean key)
      throws MediaException;

  private static native void finish(long handle) throws MediaException;

  private static native void close(long handle);
}
