package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.support.Clips;
import java.io.ByteArrayOutputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HexFormat;
import java.util.List;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** What the session's decoders deliver, against published sums and against another decoder. */
class DecodeTest {
  private static final Pattern TABLE_ROW =
      Pattern.compile(
          "\\| (\\S+) \\| vp[89][^|]*\\|[^|]*\\| (\\d+)x(\\d+) yuv420p (?:\\*\\+\\d\\* )?[\\d.]+/s[^|]*"
              + "\\| (\\d+)[^|]*\\|[^|]*\\| (\\w{32}) \\|.*");
  private static final Pattern SIDE_LINE = Pattern.compile("(\\w{32})\\s.*\\.i420");

  // Its later sizes are odd, so no published sum fits what the pool holds.
  private static final String CHANGES_TO_ODD_SIZES = "vp80-03-segmentation-1425.ivf";

  @TempDir static Path folder;

  static String md5(byte[] bytes) throws Exception {
    return HexFormat.of().formatHex(MessageDigest.getInstance("MD5").digest(bytes));
  }

  private static Captured decode(Path file) {
    Captured run = Captured.run("decode", file.toString(), "--framemd5");
    assertEquals(0, run.code(), file + ": " + run.err());
    return run;
  }

  private static String totalOf(Captured run) {
    List<String> lines = run.outLines();
    return lines.get(lines.size() - 1);
  }

  /** Every picture with its chroma sizes rounded down, as the pool holds it. */
  private static byte[] withoutHalfChroma(byte[] raw, int width, int height) {
    int chromaWidth = (width + 1) / 2;
    int chromaHeight = (height + 1) / 2;
    int size = width * height + 2 * chromaWidth * chromaHeight;
    ByteArrayOutputStream out = new ByteArrayOutputStream();
    for (int at = 0; at + size <= raw.length; at += size) {
      out.write(raw, at, width * height);
      for (int plane = 0; plane < 2; plane++)
        for (int row = 0; row < height / 2; row++)
          out.write(
              raw, at + width * height + plane * chromaWidth * chromaHeight + row * chromaWidth, width / 2);
    }
    return out.toByteArray();
  }

  @Test
  void picturesEqualThoseOfAnotherDecoder() throws Exception {
    for (String size : List.of("160x96", "161x97", "2x2", "1x1", "16x9")) {
      String[] sides = size.split("x");
      for (String codec : List.of("libvpx", "libvpx-vp9")) {
        Path clip =
            Clips.make(
                "-f lavfi -i testsrc2=size=320x180:rate=25 -vf scale=" + size.replace('x', ':')
                    + " -frames:v 12 -pix_fmt yuv420p -b:v 300k -deadline realtime -cpu-used 8 -c:v " + codec,
                folder.resolve(size + codec + ".ivf"));
        byte[] expected =
            withoutHalfChroma(Clips.decode(clip), Integer.parseInt(sides[0]), Integer.parseInt(sides[1]));
        Captured run = decode(clip);
        assertEquals("pictures: 12, " + md5(expected), totalOf(run), size + " " + codec);
        assertTrue(run.outLines().get(3).startsWith("3, 120, " + size + ", "), run.outLines().get(3));
      }
    }
  }

  @Test
  void publishedStreamsGiveThePublishedSums() throws Exception {
    Path media = Clips.media();
    if (media == null) {
      System.out.println("skipped: QVS_MEDIA names no folder of real streams");
      return;
    }
    int compared = 0;
    String section = "";
    for (String line : Files.readAllLines(media.resolve("README.md"))) {
      if (line.startsWith("## ")) section = line.substring(3).strip();
      Matcher row = TABLE_ROW.matcher(line);
      if (!row.matches() || row.group(1).equals(CHANGES_TO_ODD_SIZES)) continue;
      int width = Integer.parseInt(row.group(2));
      int height = Integer.parseInt(row.group(3));
      Path file = media.resolve(section).resolve(row.group(1));
      String expected =
          width % 2 == 0 && height % 2 == 0
              ? row.group(5)
              : md5(withoutHalfChroma(Clips.decode(file), width, height));
      Captured run = decode(file);
      assertEquals("pictures: " + row.group(4) + ", " + expected, totalOf(run), file.toString());
      if (width % 2 == 0 && height % 2 == 0) compareSideFile(file, run);
      compared++;
    }
    System.out.println(compared + " streams compared");
    assertTrue(compared > 40, "only " + compared + " rows of the table were understood");
  }

  private static void compareSideFile(Path file, Captured run) throws Exception {
    Path side = file.resolveSibling(file.getFileName() + ".md5");
    if (!Files.exists(side)) return;
    List<String> expected = new ArrayList<>();
    for (String line : Files.readAllLines(side)) {
      Matcher sum = SIDE_LINE.matcher(line);
      if (sum.matches()) expected.add(sum.group(1));
    }
    for (int i = 0; i < expected.size(); i++)
      assertTrue(run.outLines().get(i).endsWith(expected.get(i)), file + " picture " + i);
  }

  @Test
  void conformanceTellsWhyASumIsAnother() throws Exception {
    Path streams = Files.createDirectory(folder.resolve("streams"));
    String source = "-f lavfi -i testsrc2=size=96x64:rate=25 -frames:v 5 -threads 1 ";
    Path turned = streams.resolve("turned.mp4");
    Clips.make(source + "-c:v libx264 -pix_fmt yuv420p", streams.resolve("plain.mp4"));
    Clips.make("-i " + streams.resolve("plain.mp4") + " -c copy -metadata:s:v rotate=90", turned);
    Clips.make(source + "-c:v libx264 -pix_fmt yuv422p", streams.resolve("wide.mp4"));
    Clips.make(source + "-c:v mpeg2video", streams.resolve("old.m2v"));
    Clips.make(source + "-vf scale=97:65 -c:v libvpx", streams.resolve("odd.ivf"));
    byte[] units = Files.readAllBytes(Clips.make(source + "-c:v libx264", folder.resolve("whole.264")));
    Files.write(streams.resolve("cut.264"), Arrays.copyOf(units, units.length * 3 / 5));
    Clips.make(source + "-c:v libvpx", streams.resolve("changed.ivf"));
    String other = "0".repeat(32);
    StringBuilder list = new StringBuilder("| file | codec | decoded md5 | note |\n");
    for (String name : Clips.namesIn(streams)) {
      boolean decoded = name.equals("plain.mp4") || name.equals("turned.mp4");
      String sum = decoded ? md5(Clips.decode(streams.resolve(name))) : other;
      list.append("| " + name + " | - | " + sum + " |  |\n");
    }
    Files.writeString(streams.resolve("README.md"), list);
    Captured run = Captured.run("conformance", streams.toString());
    assertEquals(0, run.code(), run.err());
    Map<String, String> endings =
        Map.of(
            "plain.mp4", "5  exact",
            "turned.mp4", "exact when turned by 270 degrees, as the container wants it shown",
            "wide.mp4", "yuv422p is delivered as 8-bit 4:2:0",
            "old.m2v", "the codec leaves rounding free",
            "odd.ivf", "half of an odd size is rounded down",
            "cut.264", " damaged pictures",
            "changed.ivf", "5  another sum");
    for (String line : run.outLines()) {
      String ending = endings.get(line.split(" ")[0]);
      if (ending != null) assertTrue(line.endsWith(ending), line);
    }
    assertEquals(endings.size() + 1, run.outLines().size(), run.out());
  }
}
