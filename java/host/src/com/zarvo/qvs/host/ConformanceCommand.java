package com.zarvo.qvs.host;

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
import picocli.CommandLine.Parameters;

/** "conformance": decodes all streams of a folder and compares their sums with those listed in its README.md. */
@Command(name = "conformance", description = "Decodes a folder of streams and compares their sums with its list.")
final class ConformanceCommand implements Callable<Integer> {
  private static final Pattern LISTED = Pattern.compile("\\| (\\S+) \\|.*\\| (\\w{32}) \\|[^|]*\\|");
  private static final String LIST = "README.md";

  @Parameters(paramLabel = "DIR", description = "The folder; its README.md has a table with file and md5 columns.")
  private Path folder;

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
    Counter counter = new Counter();
    VideoCodec codec;
    try (MediaReader reader = MediaReader.open(file)) {
      if (reader.video() == null) return;
      reader.ignore(MediaKind.AUDIO);
      codec = VideoCodec.ofStream(reader.video().codecName());
      decode(file, codec, reader, counter);
    } catch (HostException | MediaException e) {
      if (expected != null) report(file, "-", 0, e.getMessage(), true);
      return;
    }
    boolean equal = counter.total.equals(expected);
    if (equal) exact++;
    String verdict = equal ? "exact" : expected != null ? "another sum" : "no sum listed";
    report(file, codec.codecName, counter.pictures, verdict, expected != null);
  }

  private void report(Path file, String codec, long pictures, String verdict, boolean isListed) {
    streams++;
    if (isListed) listed++;
    System.out.printf("%-72s %-10s %5d  %s%n", folder.relativize(file), codec, pictures, verdict);
  }

  private static void decode(Path file, VideoCodec codec, MediaReader reader, Counter counter)
      throws HostException, IOException {
    TranscodeJob.checkSource(file, reader.video());
    SessionSettings settings =
        new SessionSettings(
            file.getFileName().toString(), codec, reader.video(), reader.videoConfig(), Deinterlace.OFF, List.of(),
            List.of(), false, 1, null, 0);
    try (TranscodeSession session = new TranscodeSession(settings, counter, null);
        PictureSums sums = new PictureSums(session)) {
      counter.sums = sums;
      for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) session.push(packet);
      session.drain();
      counter.total = sums.total();
    }
  }

  private static final class Counter implements SessionOutput {
    private PictureSums sums;
    private long pictures;
    private String total = "";

    @Override
    public void decoded(long timecode, int width, int height) {
      sums.next();
      pictures++;
    }
  }
}
