package com.zarvo.qvs.host;

import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.function.Function;

/** Makes one file into renditions: reader, session, writers. */
final class TranscodeJob {
  private static final String SUPPORTED_PIXELS = "yuv420p";

  private final JobSettings settings;
  private final Function<Long, Progress> progressOf;

  /** `progressOf` makes the progress display for a length in milliseconds, -1 when unknown. */
  TranscodeJob(JobSettings settings, Function<Long, Progress> progressOf) {
    this.settings = settings;
    this.progressOf = progressOf;
  }

  /** Runs to the end. When it returns every rendition was written whole; otherwise it throws. */
  JobResult run() throws HostException, IOException {
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(settings.input())) {
      reader.ignore(MediaKind.AUDIO);
      StreamInfo source = reader.video();
      VideoCodec codec = checkSource(settings.input(), source);
      List<RenditionSpec> renditions =
          settings.renditions().isEmpty() ? DefaultLadder.of(source) : settings.renditions();
      checkOverlays(renditions.size());
      SessionSettings sessionSettings =
          new SessionSettings(
              settings.input().getFileName().toString(),
              codec,
              source,
              renditions,
              settings.overlays(),
              settings.parallel(),
              settings.keyFrameSeconds(),
              ContactSheet.CELL_WIDTH);
      try (Outputs outputs = new Outputs(source, renditions);
          TranscodeSession session = new TranscodeSession(sessionSettings, outputs)) {
        outputs.open();
        return pump(reader, session, outputs);
      }
    }
  }

  /** The codec of a source that the session can take. */
  static VideoCodec checkSource(Path input, StreamInfo source) throws HostException {
    String name = input + ": ";
    if (source == null) throw new HostException(name + "no video stream in it");
    if (source.width() > RenditionSpec.MAX_SIZE || source.height() > RenditionSpec.MAX_SIZE)
      throw new HostException(name + "pictures of " + source.width() + "x" + source.height() + " are too large");
    // The range variant names the same layout; all others would come out as empty pictures.
    if (!source.pixelFormat().isEmpty()
        && !source.pixelFormat().equals(SUPPORTED_PIXELS)
        && !source.pixelFormat().equals("yuvj420p"))
      throw new HostException(
          name + "pixel format " + source.pixelFormat() + " is not supported, only 8-bit 4:2:0 is");
    try {
      return VideoCodec.ofStream(source.codecName());
    } catch (HostException e) {
      throw new HostException(name + e.getMessage());
    }
  }

  private void checkOverlays(int renditions) throws HostException {
    for (OverlaySpec overlay : settings.overlays())
      if (overlay.rendition() >= renditions)
        throw new HostException(
            "overlay on=" + overlay.rendition() + ": there are only renditions 0 to " + (renditions - 1));
  }

  private JobResult pump(MediaReader reader, TranscodeSession session, Outputs outputs)
      throws HostException, IOException {
    StreamInfo source = reader.video();
    long startNs = System.nanoTime();
    Progress progress = progressOf.apply(source.durationMs());
    long firstMs = Long.MIN_VALUE;
    long doneMs = 0;
    long pictureMs = Math.round(1000 / source.frameRateOrDefault());
    try {
      for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) {
        if (firstMs == Long.MIN_VALUE) firstMs = packet.timecodeMs();
        if (packet.timecodeMs() - firstMs >= settings.maxMilliseconds()) break;
        session.push(packet, outputs.times.assign(packet));
        doneMs = Math.max(doneMs, packet.timecodeMs() - firstMs + pictureMs);
        progress.update(doneMs, session.pictures());
      }
      session.drain();
      progress.finish(doneMs, session.pictures());
    } finally {
      progress.close();
    }
    if (session.pictures() == 0) throw new HostException(settings.input() + ": no picture in it could be decoded");
    outputs.finish(session);
    double wallSeconds = (System.nanoTime() - startNs) / 1e9;
    return new JobResult(
        settings,
        source,
        outputs.results(),
        session.pictures(),
        doneMs,
        wallSeconds,
        outputs.writeSheet(),
        session.log().lines());
  }

  /** The files of all renditions and what the session sends to them. */
  private final class Outputs implements SessionOutput, AutoCloseable {
    private final TimecodeMap times = new TimecodeMap();
    private final StreamInfo source;
    private final List<RenditionSpec> renditions;
    private final List<MediaWriter> writers = new ArrayList<>();
    private final ContactSheet sheet;
    private final long[] keyPictures;

    Outputs(StreamInfo source, List<RenditionSpec> renditions) {
      this.source = source;
      this.renditions = renditions;
      this.keyPictures = new long[renditions.size()];
      this.sheet = settings.contactSheet() == null ? null : new ContactSheet(renditions);
    }

    /** Creates the files; called once the session stands, so that refused input leaves no trace. */
    void open() throws HostException, IOException {
      try {
        Files.createDirectories(settings.directory());
      } catch (IOException e) {
        throw new HostException(settings.directory() + ": cannot be made a directory");
      }
      Set<Path> taken = new HashSet<>();
      taken.add(settings.input().toAbsolutePath().normalize());
      for (RenditionSpec spec : renditions) {
        Path file = freeName(spec, taken);
        writers.add(
            MediaWriter.create(
                file,
                settings.format(),
                List.of(
                    new OutputTrack.Video(
                        spec.codec().codecName,
                        new byte[0],
                        source.timeBase(),
                        spec.width(),
                        spec.height(),
                        source.frameRate())),
                false));
      }
    }

    private Path freeName(RenditionSpec spec, Set<Path> taken) {
      String name = settings.input().getFileName().toString();
      int dot = name.lastIndexOf('.');
      String stem = (dot > 0 ? name.substring(0, dot) : name) + "_" + spec.sizeText();
      for (int i = 1; ; i++) {
        Path file = settings.directory().resolve(stem + (i > 1 ? "_" + i : "") + "." + settings.format());
        if (taken.add(file.toAbsolutePath().normalize())) return file;
      }
    }

    @Override
    public void packet(int rendition, TranscoderPacket packet) throws HostException, IOException {
      boolean key = packet.frameType == RenditionRoad.FRAME_KEY;
      if (key) keyPictures[rendition]++;
      long pts = times.ptsOf(packet.timecode);
      writers
          .get(rendition)
          .write(0, OutputPacket.inOrder(packet.buffer, packet.offset, (int) packet.len, pts, key));
    }

    @Override
    public boolean wantsPicture(int rendition, long timecode) {
      return sheet != null && sheet.wants(rendition, timecode);
    }

    @Override
    public void picture(int rendition, long timecode, TranscoderNativeVideoFrame picture) {
      sheet.add(rendition, timecode, picture);
    }

    /** Completes all files, after a check that every picture that went in came out. */
    void finish(TranscodeSession session) throws HostException, IOException {
      for (int i = 0; i < writers.size(); i++) {
        long in = session.encodedPictures(i);
        long out = writers.get(i).packets(0);
        if (in != out)
          throw new HostException(
              writers.get(i).target() + ": " + in + " pictures went to the encoder and " + out + " came back");
      }
      for (MediaWriter writer : writers) writer.finish();
    }

    List<JobResult.Rendition> results() {
      List<JobResult.Rendition> results = new ArrayList<>();
      for (int i = 0; i < writers.size(); i++) {
        MediaWriter writer = writers.get(i);
        results.add(
            new JobResult.Rendition(
                renditions.get(i), writer.target(), writer.packets(0), keyPictures[i], writer.bytes(0)));
      }
      return results;
    }

    Path writeSheet() throws IOException {
      return sheet != null && sheet.write(settings.contactSheet()) ? settings.contactSheet() : null;
    }

    @Override
    public void close() {
      for (MediaWriter writer : writers) writer.close();
    }
  }
}
