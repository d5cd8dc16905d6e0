package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.MediaInput;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.Locale;
import java.util.Set;
import java.util.TreeSet;
import java.util.stream.Stream;

/**
 * How libavformat is to open an input.
 *
 * @param demuxer its name, "" where it is to be found out
 * @param options a line each
 * @param patienceMs how long nothing may come, 0 for ever
 */
record InputOpening(String address, String demuxer, String options, long patienceMs) {
  static final Path STANDARD_INPUT = Path.of("-");
  private static final Set<String> PICTURES =
      Set.of("png", "jpg", "jpeg", "bmp", "tif", "tiff", "webp", "jp2", "tga", "ppm", "pgm", "pnm", "exr", "dpx", "gif");
  private static final int RECONNECT_SECONDS_MOST = 4;

  /** Refuses what is not there. */
  static InputOpening of(MediaInput input) throws MediaException {
    String options = "protocol_whitelist=" + input.protocols() + "\n";
    if (input.isUrl()) return new InputOpening(input.address(), "", options + urlOptions(input), input.patienceMs());
    if (input.isSequence()) return sequence(input, options);
    Path real = realOf(input.path());
    if (!Files.exists(real)) throw new MediaException(input + ": no such file");
    boolean live = isLive(input.path());
    return new InputOpening((live ? input.path() : real).toString(), "", options, 0);
  }

  /** True for what can be read only once, from front to back. */
  static boolean isLive(Path path) {
    Path real = realOf(path);
    return Files.exists(real) && !Files.isRegularFile(real) && !Files.isDirectory(real);
  }

  // A file that the shell put there can be read like any other.
  private static Path realOf(Path path) {
    return path.equals(STANDARD_INPUT) ? Path.of("/dev/stdin") : path;
  }

  // A server that sends an error it may mend is asked again, one that has no such file is not.
  private static String urlOptions(MediaInput input) {
    if (!input.isHttp()) return "";
    return "reconnect=1\nreconnect_streamed=1\nreconnect_on_network_error=1\nreconnect_delay_max=" + RECONNECT_SECONDS_MOST + "\n";
  }

  private static InputOpening sequence(MediaInput input, String options) throws MediaException {
    String timed = options + "framerate=" + Math.round(input.pictureRate() * 1000) + "/1000\n";
    Path folder = input.path();
    if (!Files.isDirectory(folder)) return new InputOpening(input.address(), "image2", timed + "pattern_type=sequence\n", 0);
    Set<String> kinds = new TreeSet<>();
    try (Stream<Path> files = Files.list(folder)) {
      files.map(InputOpening::endingOf).filter(ending -> PICTURES.contains(ending.toLowerCase(Locale.ROOT))).forEach(kinds::add);
    } catch (IOException e) {
      throw new MediaException(folder + ": cannot be read");
    }
    if (kinds.isEmpty()) throw new MediaException(folder + ": is a directory without pictures");
    if (kinds.size() > 1)
      throw new MediaException(folder + ": is a directory of pictures of several kinds: " + String.join(", ", List.copyOf(kinds)));
    String quoted = folder.toString().replaceAll("([*?\\[\\]{}\\\\])", "\\\\$1");
    return new InputOpening(quoted + "/*." + kinds.iterator().next(), "image2", timed + "pattern_type=glob\n", 0);
  }

  private static String endingOf(Path file) {
    String name = file.getFileName().toString();
    return name.substring(name.lastIndexOf('.') + 1);
  }
}
