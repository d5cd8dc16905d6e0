package com.zarvo.qvs.host.support;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.stream.Stream;

/** Makes and examines files with the ffmpeg tools, which share no code with the transcoder under test. */
public final class Clips {
  private Clips() {}

  /** Standard output of a program; a failure of the program fails the test. */
  public static String run(String... command) throws IOException, InterruptedException {
    Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
    process.getOutputStream().close();
    String out = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
    if (process.waitFor() != 0) throw new IOException(String.join(" ", command) + " failed");
    return out;
  }

  /** Runs ffmpeg quietly with the given arguments, words parted by spaces; the file comes last. */
  public static Path make(String arguments, Path file) throws IOException, InterruptedException {
    List<String> command = new ArrayList<>(List.of("ffmpeg", "-loglevel", "error", "-y"));
    command.addAll(List.of(arguments.strip().split(" +")));
    command.add(file.toString());
    run(command.toArray(new String[0]));
    return file;
  }

  /** A moving test picture in VP8 or VP9. */
  public static Path testVideo(Path file, String size, String rate, int frames, String more)
      throws IOException, InterruptedException {
    return make(
        "-f lavfi -i testsrc2=size=" + size + ":rate=" + rate + " -frames:v " + frames
            + " -c:v libvpx -b:v 2M -deadline realtime -cpu-used 8 " + more,
        file);
  }

  /** Presentation times of all packets as the container holds them, in seconds. */
  public static List<String> times(Path file) throws IOException, InterruptedException {
    return run(
            "ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time", "-of", "csv=p=0",
            file.toString())
        .lines()
        .map(line -> line.replace(",", "").strip())
        .filter(line -> !line.isEmpty())
        .toList();
  }

  /** The same in the order in which they are shown: coders with B pictures write them in another. */
  public static List<String> shownTimes(Path file) throws IOException, InterruptedException {
    return times(file).stream().sorted(Comparator.comparingDouble(Double::parseDouble)).toList();
  }

  /** Presentation times of key pictures, in seconds. */
  public static List<String> keyTimes(Path file) throws IOException, InterruptedException {
    return run(
            "ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", "packet=pts_time,flags", "-of",
            "csv=p=0", file.toString())
        .lines()
        .filter(line -> line.contains(",K"))
        .map(line -> line.split(",")[0])
        .toList();
  }

  /** Of each picture of a file in dB, against the picture of the source in the same place. */
  public static List<Double> psnr(Path source, Path file) throws IOException, InterruptedException {
    Path stats = Files.createTempFile("psnr", ".txt");
    try {
      run(
          "ffmpeg", "-loglevel", "error", "-i", file.toString(), "-i", source.toString(), "-lavfi",
          "[0:v]settb=1/30,setpts=N[a];[1:v]settb=1/30,setpts=N[b];[a][b]psnr=stats_file=" + stats, "-f", "null", "-");
      return Files.readAllLines(stats).stream()
          .map(line -> Double.parseDouble(line.replaceAll(".*psnr_avg:(\\S+).*", "$1").replace("inf", "100")))
          .toList();
    } finally {
      Files.deleteIfExists(stats);
    }
  }

  /** All pictures of a file as raw I420 at its own size. */
  public static byte[] decode(Path file) throws IOException, InterruptedException {
    Path raw = Files.createTempFile("decoded", ".yuv");
    try {
      make("-i " + file + " -vsync passthrough -pix_fmt yuv420p -f rawvideo", raw);
      return Files.readAllBytes(raw);
    } finally {
      Files.deleteIfExists(raw);
    }
  }

  /** The folder of real streams, null when there is none on this machine. */
  public static Path media() {
    String folder = System.getenv("QVS_MEDIA");
    return folder == null || folder.isEmpty() ? null : Path.of(folder);
  }

  public static List<String> namesIn(Path folder) throws IOException {
    if (!Files.exists(folder)) return List.of();
    try (Stream<Path> files = Files.list(folder)) {
      return files.map(file -> file.getFileName().toString()).sorted().toList();
    }
  }
}
