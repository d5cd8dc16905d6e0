package com.zarvo.qvs.api;

import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.media.FileClock;
import com.zarvo.qvs.host.media.HlsMaster;
import com.zarvo.qvs.host.media.HlsWriter;
import com.zarvo.qvs.host.media.MediaWriter;
import com.zarvo.qvs.host.media.OutputPacket;
import com.zarvo.qvs.host.media.OutputTrack;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.media.TrackWriter;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.AudioOutput;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;

/** Writes the files of a ladder. */
final class FileSink implements AutoCloseable {
  private static final int PICTURES = 0;
  private static final Rational SQUARE = new Rational(1, 1);
  private static final Rational UNKNOWN = new Rational(0, 1);
  // What segments add to coded bits, and how far these may exceed what was asked for.
  private static final double LIVE_RATE_MARGIN = 1.2;

  private final MediaFiles files;
  private final String stem;
  private final StreamInfo source;
  private final List<RenditionSpec> rungs;
  private final List<AudioSpec> sounds = new ArrayList<>();
  private final List<TrackWriter> writers = new ArrayList<>();
  private final long[] keys;
  private final double keyFrameSeconds;
  private FileClock clock = FileClock.AS_GIVEN;
  private long end = Long.MIN_VALUE / 2;
  private boolean masterWritten;

  FileSink(MediaFiles files, String name, StreamInfo source, List<RenditionSpec> rungs, double keyFrameSeconds) {
    this.files = files;
    int dot = name.lastIndexOf('.');
    this.stem = dot > 0 ? name.substring(0, dot) : name;
    this.source = source;
    this.rungs = rungs;
    this.keys = new long[rungs.size()];
    this.keyFrameSeconds = keyFrameSeconds;
  }

  /** Creates the files; `first` is the time of the first picture or sound, in seconds of the source. */
  void open(List<AudioOutput> outputs, double first) throws IOException {
    clock = FileClock.startingAt(first);
    Files.createDirectories(files.folder());
    Files.deleteIfExists(master());
    Set<Path> taken = new HashSet<>();
    for (RenditionSpec rung : rungs) {
      String ending = files.container().isFolder() ? "" : "." + files.container().label();
      Path file = files.folder().resolve(stem + "_" + rung.sizeText() + ending);
      for (int i = 2; !taken.add(file); i++)
        file = files.folder().resolve(stem + "_" + rung.sizeText() + "_" + i + ending);
      if (Files.exists(file) && !files.mayReplace())
        throw new TranscodeException(file + " exists already; overwrite() lets it be replaced");
      List<OutputTrack> tracks = new ArrayList<>();
      tracks.add(
          new OutputTrack.Video(
              rung.codec().codecName, new byte[0], source.timeBase(), rung.width(), rung.height(), rateOf(rung),
              SQUARE, source.colors(), source.display()));
      for (AudioOutput output : outputs) tracks.add(output.track());
      TrackWriter writer =
          files.container().isFolder()
              ? HlsWriter.create(file, keyFrameSeconds, files.window(), tracks)
              : MediaWriter.create(file, files.container(), tracks, !outputs.isEmpty());
      writers.add(writer);
      for (int i = 0; i < outputs.size(); i++) connect(outputs.get(i), writer, i + 1);
    }
    for (AudioOutput output : outputs) sounds.add(output.spec());
  }

  private Rational rateOf(RenditionSpec rung) {
    return rung.frameRate() > 0 && rung.frameRate() < source.frameRate().toDouble() ? UNKNOWN : source.frameRate();
  }

  private void connect(AudioOutput output, TrackWriter writer, int track) {
    Rational unit = writer.track(track).timeBase();
    output.addSink(packet -> writer.write(track, clock.place(packet, unit)));
  }

  /** A picture of the source is shown until then, in its units. */
  void endsAt(long pts) {
    end = Math.max(end, pts);
  }

  void picture(int rung, OutputPacket packet) throws IOException {
    if (packet.key()) keys[rung]++;
    writers.get(rung).write(PICTURES, clock.place(packet, source.timeBase()));
    if (files.window() > 0 && !masterWritten && keys[rung] > 1) writeLiveMaster();
  }

  void replaced(int rung, ParameterSetChange change) {
    writers.get(rung).changeParameterSets(change);
  }

  // As soon as no player is sent to a rung that is not there.
  private void writeLiveMaster() throws IOException {
    for (TrackWriter writer : writers)
      if (!Files.exists(writer.target().resolve(Container.PLAYLIST))) return;
    writeMaster();
  }

  private void writeMaster() throws IOException {
    HlsMaster playlist = new HlsMaster();
    long soundRate = sounds.stream().mapToLong(AudioSpec::bitRate).sum();
    for (int i = 0; i < rungs.size(); i++) {
      double expected = files.window() > 0 ? LIVE_RATE_MARGIN * (rungs.get(i).bitRate() + soundRate) : 0;
      OutputTrack.Video track = (OutputTrack.Video) writers.get(i).track(PICTURES);
      playlist.add(writers.get(i).target(), track, !sounds.isEmpty(), Math.round(expected));
    }
    playlist.write(master());
    masterWritten = true;
  }

  private Path master() {
    return files.folder().resolve(stem + ".m3u8");
  }

  void finish() throws IOException {
    for (TrackWriter writer : writers) {
      writer.endAt(PICTURES, clock.place(end, source.timeBase()));
      writer.finish();
    }
    if (files.container().isFolder() && !masterWritten) writeMaster();
  }

  /** Drops what is not finished; live segments stay. */
  @Override
  public void close() {
    for (TrackWriter writer : writers) writer.close();
  }
}
