package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Container;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.stream.Collectors;

/**
 * Writes streams into a container file. The bytes go into a file with an own ending and ".part" behind its name, which
 * takes its own name in {@link #finish}: what stands under the final name is always whole.
 */
public final class MediaWriter extends TrackWriter {
  private final Path part;
  private final Muxer muxer;
  private final boolean keepTimes;

  private MediaWriter(Path target, Path part, Muxer muxer, List<? extends OutputTrack> tracks, boolean keepTimes) {
    super(target, tracks);
    this.part = part;
    this.muxer = muxer;
    this.keepTimes = keepTimes;
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
    return create(target, format, Map.of(), tracks, keepTimes);
  }

  /** The same in a container's own form. */
  public static MediaWriter create(
      Path target, Container container, List<? extends OutputTrack> tracks, boolean keepTimes) throws MediaException {
    Set<String> codecs = tracks.stream().map(OutputTrack::codecName).collect(Collectors.toSet());
    return create(target, container.muxer(codecs), container.options(), tracks, keepTimes);
  }

  private static MediaWriter create(
      Path target,
      String format,
      Map<String, String> options,
      List<? extends OutputTrack> tracks,
      boolean keepTimes)
      throws MediaException {
    MediaWriter writer = null;
    Path part = WholeFile.partOf(target);
    try {
      writer = new MediaWriter(target, part, Muxer.open(part.toString(), format, false), tracks, keepTimes);
      WholeFile.dropOnExit(part);
      options.forEach(writer.muxer::option);
      writer.beginIfKnown();
      return writer;
    } catch (IOException e) {
      if (writer != null) writer.close();
      String told = e.getMessage();
      throw new MediaException(told.startsWith(target + ": ") ? told : target + ": " + told);
    }
  }

  @Override
  void begin(List<OutputTrack> known) throws MediaException {
    named(
        () -> {
          for (OutputTrack track : known) muxer.add(track);
          muxer.begin(keepTimes);
        });
  }

  @Override
  void deliver(int track, OutputPacket packet) throws MediaException {
    named(() -> muxer.write(track, packet));
  }

  @Override
  void complete() throws IOException {
    named(muxer::finish);
    muxer.close();
    Files.move(part, target(), StandardCopyOption.REPLACE_EXISTING);
  }

  private interface Step {
    void run() throws MediaException;
  }

  private void named(Step step) throws MediaException {
    try {
      step.run();
    } catch (MediaException e) {
      throw new MediaException(target() + ": " + e.getMessage());
    }
  }

  @Override
  public void close() {
    boolean open = muxer.isOpen();
    muxer.close();
    if (open || !isFinished()) dropUnfinished(part);
  }
}
