package com.zarvo.qvs.host.support;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** Sound with a short tone every second, and where the tones of a file lie, seen by a decoder of its own. */
public final class Beeps {
  private static final int RATE = 48_000;
  private static final int WINDOW = RATE / 1000;
  private static final int BEEP_SAMPLES = RATE / 20;

  private Beeps() {}

  /** Source filter of tones of 50 ms at 0.5 s, 1.5 s and so on, for ffmpeg's "-f lavfi -i". */
  public static String source(int rate, double seconds) {
    return "aevalsrc=if(lt(mod(t-0.5\\,1)\\,0.05)*gte(t\\,0.5)\\,0.7*sin(2*PI*1000*t)\\,0):s=" + rate + ":d=" + seconds;
  }

  /** Times in milliseconds at which tones start, on the file's own clock. */
  public static List<Double> in(Path file, int stream) throws Exception {
    // The times that ffmpeg reads in Ogg files are only right at their start; all others may hold gaps.
    boolean counted = file.toString().endsWith(".ogg");
    String filter = "aresample=" + RATE + (counted ? "" : ":async=1:min_hard_comp=0.001:first_pts=0");
    double start = counted ? startMs(file) : 0;
    return onsets(samples(file, stream, "-af " + filter + " -ac 1")).stream().map(ms -> ms + start).toList();
  }

  /** The same on a clock that starts with the file's first picture or sound, as files do that are made of it. */
  public static List<Double> fromStart(Path file, int stream) throws Exception {
    double start = startOf(file);
    return in(file, stream).stream().map(ms -> ms - start).toList();
  }

  /** When a file starts, in milliseconds; what only fills a codec does not count. */
  public static double startOf(Path file) throws Exception {
    String told = Clips.run("ffprobe", "-v", "error", "-show_entries", "format=start_time", "-of", "csv=p=0", file.toString());
    return told.startsWith("N/A") ? 0 : Math.max(0, 1000 * Double.parseDouble(told.strip()));
  }

  private static double startMs(Path file) throws Exception {
    String first =
        Clips.run(
            "ffprobe", "-v", "error", "-read_intervals", "%+#2", "-show_entries", "frame=pts_time", "-of", "csv=p=0",
            file.toString());
    return 1000 * Double.parseDouble(first.lines().findFirst().orElseThrow().replace(",", ""));
  }

  /** The file's sound as 16-bit samples by ffmpeg; `more` are options of the output. */
  public static short[] samples(Path file, int stream, String more) throws Exception {
    Path raw = Files.createTempFile("sound", ".s16");
    try {
      Clips.make("-copyts -i " + file + " -map 0:a:" + stream + " " + more + " -f s16le", raw);
      byte[] bytes = Files.readAllBytes(raw);
      short[] samples = new short[bytes.length / 2];
      ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).asShortBuffer().get(samples);
      return samples;
    } finally {
      Files.deleteIfExists(raw);
    }
  }

  public static void assertSame(List<Double> expected, List<Double> found, String what) {
    assertEquals(expected.size(), found.size(), what + ": " + expected + " and " + found);
    for (int i = 0; i < found.size(); i++)
      assertEquals(expected.get(i), found.get(i), 1.0, what + ": " + expected + " and " + found);
  }

  // The middle of each loud run of about a beep's length, less half a beep: blind to how the edges are shaped.
  private static List<Double> onsets(short[] samples) {
    long[] energy = new long[samples.length];
    long sum = 0;
    long loudest = 0;
    for (int i = 0; i < samples.length; i++) {
      sum += samples[i] * (long) samples[i];
      if (i >= WINDOW) sum -= samples[i - WINDOW] * (long) samples[i - WINDOW];
      energy[i] = sum;
      loudest = Math.max(loudest, sum);
    }
    List<Double> found = new ArrayList<>();
    int start = -1;
    for (int i = 0; i < energy.length; i++) {
      boolean loud = energy[i] >= Math.max(1, loudest / 4);
      if (loud && start < 0) start = i;
      if (loud || start < 0) continue;
      if (i - start > BEEP_SAMPLES / 2) found.add(((start + i - WINDOW) / 2.0 - BEEP_SAMPLES / 2.0) * 1000 / RATE);
      start = -1;
    }
    return found;
  }
}
