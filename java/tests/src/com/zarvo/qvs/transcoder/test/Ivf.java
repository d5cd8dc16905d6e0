package com.zarvo.qvs.transcoder.test;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Coded frames in IVF form, and clips made for tests. */
final class Ivf {
  /** Left half orange, right half blue: U and V differ, and so do the halves. */
  private static final String HALVES =
      "color=c=0xE05018:s=%dx%d:r=25:d=%s[a];color=c=0x2040D0:s=%dx%d:r=25:d=%s[b];[a][b]hstack";

  private Ivf() {}

  static List<byte[]> read(Path file) throws IOException {
    ByteBuffer bytes = ByteBuffer.wrap(Files.readAllBytes(file)).order(ByteOrder.LITTLE_ENDIAN);
    bytes.position(bytes.getShort(6));
    List<byte[]> frames = new ArrayList<>();
    while (bytes.remaining() >= 12) {
      byte[] frame = new byte[bytes.getInt()];
      bytes.getLong();
      bytes.get(frame);
      frames.add(frame);
    }
    return frames;
  }

  /** A VP8 clip of {@code frames} pictures at 25 fps. */
  static List<byte[]> halves(int width, int height, int frames) throws IOException, InterruptedException {
    Path file = Files.createTempFile("halves", ".ivf");
    String seconds = String.valueOf(frames / 25.0);
    String graph = String.format(HALVES, width / 2, height, seconds, width / 2, height, seconds);
    List<String> command =
        Arrays.asList(
            "ffmpeg", "-v", "error", "-y", "-filter_complex", graph, "-pix_fmt", "yuv420p", "-c:v", "libvpx", "-b:v",
            "1M", "-deadline", "realtime", "-threads", "1", file.toString());
    assertEquals(0, new ProcessBuilder(command).inheritIO().start().waitFor(), () -> String.join(" ", command));
    try {
      return read(file);
    } finally {
      Files.delete(file);
    }
  }
}
