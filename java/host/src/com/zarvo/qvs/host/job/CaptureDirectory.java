package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * A folder of file devices for one run: links to the capture directories that it is to offer, and a black one of its
 * own. Devices are looked for by their numbers without a gap, so a slate from elsewhere can only stand among them so.
 */
final class CaptureDirectory implements AutoCloseable {
  static final String PROPERTIES = "info.properties";
  private static final int MAX_DEVICES = 100;
  /** Pictures a second of black devices: of the usual ones the nearest is taken. */
  static final List<Rational> BLACK_RATES =
      List.of(
          new Rational(24000, 1001), new Rational(25, 1), new Rational(30000, 1001), new Rational(30, 1),
          new Rational(50, 1), new Rational(60000, 1001), new Rational(60, 1));
  // A black picture has no details to lose.
  private static final int BLACK_WIDTH = 64;
  private static final int BLACK_HEIGHT = 36;
  private static final byte BLACK_LUMA = 16;
  private static final byte NO_CHROMA = (byte) 128;

  private final Path root;
  private final Path devices;
  private int count;

  CaptureDirectory() throws HostException {
    try {
      root = Files.createTempDirectory("qvs-capture");
      devices = Files.createDirectory(root.resolve("capture"));
    } catch (IOException e) {
      throw new HostException("no temporary folder for capture devices: " + e.getMessage());
    }
  }

  Path root() {
    return root;
  }

  /** The directories of devices in a folder, by their numbers. */
  static List<Path> in(Path folder) {
    List<Path> found = new ArrayList<>();
    for (int n = 0; n < MAX_DEVICES; n++) {
      Path directory = folder.resolve("capture").resolve("capture" + n);
      if (!holdsDevice(directory)) break;
      found.add(directory);
    }
    return found;
  }

  static boolean holdsDevice(Path directory) {
    return Files.isReadable(directory.resolve(PROPERTIES));
  }

  /** Offers a capture directory as the next device; the device's name. */
  String link(Path directory) throws IOException {
    Files.createSymbolicLink(next(), directory.toRealPath());
    count++;
    return lastName();
  }

  /** The same with one of black pictures, made for it. */
  String addBlack(Rational frameRate) throws IOException {
    Path directory = Files.createDirectory(next());
    byte[] picture = new byte[BLACK_WIDTH * BLACK_HEIGHT * 3 / 2];
    Arrays.fill(picture, NO_CHROMA);
    Arrays.fill(picture, 0, BLACK_WIDTH * BLACK_HEIGHT, BLACK_LUMA);
    Files.write(directory.resolve("black.yuv"), picture);
    Files.writeString(directory.resolve(PROPERTIES), pictures("black.yuv", BLACK_WIDTH, BLACK_HEIGHT, frameRate));
    count++;
    return lastName();
  }

  /** The name of the device offered last. */
  String lastName() {
    return "file::capture" + (count - 1);
  }

  static String pictures(String file, int width, int height, Rational frameRate) {
    return String.format(
        "video.file.path: %s%nvideo.frameWidth: %d%nvideo.frameHeight: %d%nvideo.frameRateEnum: %d%nvideo.frameRateDenom: %d%n",
        file, width, height, frameRate.num(), frameRate.den());
  }

  static String sound(String file, int sampleRate, int channels) {
    return String.format(
        "audio.file.path: %s%naudio.sampleRate: %d%naudio.channels: %d%naudio.bytesPerSample: 2%n", file, sampleRate,
        channels);
  }

  private Path next() {
    return devices.resolve("capture" + count);
  }

  @Override
  public void close() {
    try {
      deleteAll(root);
    } catch (IOException e) {
      System.err.println("qvs: " + root + ": cannot be deleted");
    }
  }

  private static void deleteAll(Path path) throws IOException {
    if (Files.isDirectory(path, LinkOption.NOFOLLOW_LINKS))
      try (DirectoryStream<Path> inside = Files.newDirectoryStream(path)) {
        for (Path one : inside) deleteAll(one);
      }
    Files.deleteIfExists(path);
  }
}
