package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.FrameChecksums;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.DecoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.Callable;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "conformance": decodes all streams of a folder and compares their sums with those listed in its README.md. */
@Command(name = "conformance", description = "Decodes a folder of streams and compares their sums with its list.")
final class ConformanceCommand implements Callable<Integer> {
  private static final Pattern LISTED = Pattern.compile("\\| (\\S+) \\|.*\\| (\\w{32}) \\|[^|]*\\|");
  private static final String LIST = "README.md";

  @Parameters(paramLabel = "DIR", description = "The folder; its README.md has a table with file and md5 columns.")
  private Path folder;

  @Option(
      names = "--decoder",
      paramLabel = "NAME",
      converter = Converters.OfDecoder.class,
      description = "What decodes: software (default) or nvcuvid; software too where that does not take the stream.")
  private DecoderBackend decoder;

  private int streams;
  private int exact;
  private int listed;

  @Override
  public Integer call() throws Exception {
    if (!Files.isDirectory(folder)) throw new HostException(folder + ": is no folder");
    NativeLibraries.loadMedia();
    Map<String, String> sums = listedSums();
    List<Path> files;
    try (Stream<Path> found = Files.walk(folder)) {
      files = found.filter(Files::isRegularFile).sorted().toList();
    }
    for (Path file : files) check(file, sums.get(file.getFileName().toString()));
    System.out.println(streams + " streams, " + listed + " with a listed sum, " + exact + " of them exact");
    return exact > 0 ? 0 : 1;
  }

  private Map<String, String> listedSums() throws IOException {
    Map<String, String> sums = new HashMap<>();
    Path list = folder.resolve(LIST);
    if (!Files.exists(list)) return sums;
    for (String line : Files.readAllLines(list)) {
      Matcher row = LISTED.matcher(line);
      if (row.matches()) sums.put(row.group(1), row.group(2));
    }
    return sums;
  }

  private void check(Path file, String expected) throws IOException {
    try {
      Counter counter = decode(file, 0);
      if (counter == null) return;
      boolean equal = counter.total.equals(expected);
      if (equal) exact++;
      String verdict = equal ? "exact" : expected != null ? whyUnequal(file, counter, expected) : "no sum listed";
      report(file, counter.codec.codecName, counter.frames, verdict, expected != null);
    } catch (HostException | MediaException e) {
      if (expected != null) report(file, "-", 0, e.getMessage(), true);
    }
  }

  private String whyUnequal(Path file, Counter counter, String expected) throws HostException, IOException {
    String pixels = counter.pixelFormat;
    if (!pixels.isEmpty() && !pixels.equals("yuv420p") && !pixels.equals("yuvj420p"))
      return "another sum: " + pixels + " is delivered as 8-bit 4:2:0";
    if (!counter.codec.isExact()) return "another sum: the codec leaves rounding free";
    if (counter.damaged > 0) return "another sum: " + counter.damaged + " damaged pictures";
    if (counter.isOdd) return "another sum: half of an odd size is rounded down";
    for (int quarters = 1; quarters < 4; quarters++)
      if (decode(file, quarters).total.equals(expected))
        return "exact when turned by " + 90 * quarters + " degrees, as the container wants it shown";
    return "another sum";
  }

  private void report(Path file, String codec, long frames, String verdict, boolean isListed) {
    streams++;
    if (isListed) listed++;
    System.out.printf("%-72s %-10s %5d  %s%n", folder.relativize(file), codec, frames, verdict);
  }

  /** All pictures of a file, turned clockwise; null where it has none. */
  private Counter decode(Path file, int quarters) throws HostException, IOException {
    try (MediaReader reader = MediaReader.open(file)) {
      StreamInfo video = reader.video();
      if (video == null) return null;
      reader.ignore(MediaKind.AUDIO);
      VideoCodec codec = VideoCodec.ofStream(video.codecName());
      SessionSettings settings =
          SessionSettings.of(file.getFileName().toString())
              .video(reader)
              .decoder(decoder)
              .deviceListener(event -> System.out.println(file.getFileName() + ": " + event))
              .build();
      Counter counter = new Counter(codec, video.pixelFormat(), quarters);
      try (TranscodeSession session = new TranscodeSession(settings, counter, null);
          FrameChecksums sums = new FrameChecksums(session)) {
        counter.sums = sums;
        for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) session.push(packet);
        session.drain();
        counter.total = sums.total();
        counter.damaged = session.damagedFrames();
      }
      return counter;
    }
  }

  private static final class Counter implements SessionOutput {
    private final VideoCodec codec;
    private final String pixelFormat;
    private final int quarters;
    private FrameChecksums sums;
    private long frames;
    private boolean isOdd;
    private long damaged;
    private String total = "";

    Counter(VideoCodec codec, String pixelFormat, int quarters) {
      this.codec = codec;
      this.pixelFormat = pixelFormat;
      this.quarters = quarters;
    }

    @Override
    public void decoded(long timecode, int width, int height) {
      isOdd |= (width | height) % 2 != 0;
      if (quarters == 0) sums.next();
      else sums.addTurned(width, height, quarters);
      frames++;
    }
  }
}
