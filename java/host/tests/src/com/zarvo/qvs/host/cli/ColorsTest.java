package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.job.VideoQuality;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.host.support.I420;
import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** What renditions say of their colours and of how they are to be shown. */
class ColorsTest {
  private static final String BARS = "-f lavfi -i smptehdbars=rate=25:size=";
  private static final String H264 = " -frames:v 3 -c:v libx264 -preset ultrafast ";
  private static final String BT709 = "-colorspace bt709 -color_primaries bt709 -color_trc bt709 ";
  // The mixture that many phones write: no description of the encoder has it.
  private static final String PHONE =
      "-pix_fmt yuvj420p -color_range pc -colorspace smpte170m -color_primaries bt470bg -color_trc smpte170m ";
  private static final String PQ =
      "-pix_fmt yuv420p10le -color_range tv -colorspace bt2020nc -color_primaries bt2020 -color_trc smpte2084 ";

  @TempDir static Path folder;

  private static Path bars(String name, String size, String more) throws Exception {
    return Clips.make(BARS + size + H264 + "-pix_fmt yuv420p -color_range tv " + more, folder.resolve(name));
  }

  private static Captured transcode(Path source, String format, String rendition, String... more) {
    List<String> arguments =
        new ArrayList<>(
            List.of("transcode", source.toString(), "-o", folder.toString(), "--format", format, "--rendition",
                rendition, "--no-contact-sheet"));
    arguments.addAll(List.of(more));
    Captured run = Captured.run(arguments.toArray(new String[0]));
    assertEquals(0, run.code(), run.err());
    return run;
  }

  private static Path rendition(Path source, String format, String size) {
    String stem = source.getFileName().toString().replaceAll("\\.\\w+$", "") + "_" + size;
    return folder.resolve(format.equals("hls") ? stem + "/index.m3u8" : stem + "." + format);
  }

  /** Range, matrix, transfer and primaries by the names of ffprobe. */
  private static String colors(Path file) throws Exception {
    return probe(file, "stream=color_range,color_space,color_transfer,color_primaries");
  }

  private static String probe(Path file, String what) throws Exception {
    return Clips.run(
            "ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", what, "-of", "csv=p=0",
            file.toString())
        .lines()
        .map(line -> line.replaceAll("^,+|,+$", ""))
        .filter(line -> !line.isEmpty())
        .findFirst()
        .orElse("");
  }

  @Test
  void whatASourceLeavesOpenFollowsFromItsMatrixElseItsHeight() {
    assertEquals(new Colors(1, 1, 1, false), Colors.of(2, 2, 2, false, 720));
    assertEquals(new Colors(6, 6, 6, true), Colors.of(2, 2, 2, true, 719));
    assertEquals(new Colors(5, 6, 5, false), Colors.of(2, 2, 2, false, 576));
    assertEquals(new Colors(5, 6, 5, false), Colors.of(0, 3, 0, false, 288));
    assertEquals(new Colors(1, 1, 1, false), Colors.of(2, 2, 1, false, 480));
    assertEquals(new Colors(9, 18, 9, false), Colors.of(2, 18, 9, false, 2160));
    assertEquals(new Colors(6, 6, 6, false), Colors.of(22, 19, -1, false, 480), "none that H.264 knows");
  }

  @ParameterizedTest
  @CsvSource({"mp4, h264", "mkv, h264", "hls, h264", "flv, h264", "ts, h265"})
  void smallRungsOfALargeSourceSayItsColours(String format, String codec) throws Exception {
    Path source = bars("hd-" + format + ".mp4", "1920x1080", BT709);
    transcode(source, format, "854x480@2M,fit=stretch,codec=" + codec);
    Path rung = rendition(source, format, "854x480");
    assertEquals("tv,bt709,bt709,bt709", colors(rung));
    double difference = difference(shown(source), shown(rung));
    assertTrue(difference < 2, "shown colours differ by " + difference);
  }

  @Test
  void untaggedSourcesAreTaggedAsPlayersTakeThem() throws Exception {
    String[][] cases = {
      {"1280x720", "tv,bt709,bt709,bt709"},
      {"720x576", "tv,bt470bg,smpte170m,bt470bg"},
      {"720x480", "tv,smpte170m,smpte170m,smpte170m"},
    };
    for (String[] row : cases) {
      Path source = Clips.make(BARS + row[0] + H264 + "-pix_fmt yuv420p", folder.resolve("plain" + row[0] + ".mp4"));
      assertEquals("unknown", probe(source, "stream=color_space"), "the clip says nothing");
      transcode(source, "flv", "320x180@500k");
      assertEquals(row[1], colors(rendition(source, "flv", "320x180")), row[0]);
    }
  }

  @Test
  void fullRangeAndHighDynamicRangeAreSaidAsTheyAre() throws Exception {
    Path phone = bars("phone.mp4", "640x360", PHONE);
    Path report = folder.resolve("phone.json");
    transcode(phone, "mp4", "320x180@1M,fit=stretch", "--report", report.toString());
    Path small = rendition(phone, "mp4", "320x180");
    assertEquals("pc,smpte170m,smpte170m,bt470bg", colors(small));
    assertTrue(VideoQuality.psnr(phone, small, new Rectangle()) > 35, "samples stay in their range");
    double difference = difference(shown(phone), shown(small));
    assertTrue(difference < 2, "shown colours differ by " + difference);
    assertTrue(Files.readString(report).contains("\"fullRange\": true"), "the report says so");
    Path deep = bars("deep.mkv", "640x360", PQ);
    transcode(deep, "hls", "320x180@1M");
    assertEquals("tv,bt2020nc,smpte2084,bt2020", colors(rendition(deep, "hls", "320x180")));
  }

  /** Where the coded pictures say less than a container can, or nothing. */
  @Test
  void containersAndStreamsSayWhatEachCan() throws Exception {
    Path source = bars("both.mp4", "1280x720", BT709);
    transcode(source, "webm", "320x180@500k,codec=vp8");
    assertEquals("tv,bt709,bt709,bt709", colors(rendition(source, "webm", "320x180")));
    Path phone = bars("both2.mp4", "640x360", PHONE);
    transcode(phone, "ivf", "320x180@500k,codec=vp9");
    assertEquals("pc,smpte170m,unknown,unknown", colors(rendition(phone, "ivf", "320x180")));
    transcode(phone, "webm", "320x180@500k,codec=vp9");
    assertEquals("pc,smpte170m,smpte170m,bt470bg", colors(rendition(phone, "webm", "320x180")));
    transcode(source, "mp4", "320x180@500k");
    String bytes = Files.readString(rendition(source, "mp4", "320x180"), StandardCharsets.ISO_8859_1);
    assertTrue(bytes.contains("colrnclx\0\1\0\1\0\1\0"), "BT.709 in narrow range");
  }

  /** ffmpeg turns what it decodes as a player does, so it shows what ours have to look like without a turn. */
  @ParameterizedTest
  @CsvSource({
    "0, false, mkv", "1, false, hls", "2, false, webm", "3, false, mp4", "0, true, flv", "1, true, mp4", "2, true, mkv",
    "3, true, hls"
  })
  void turnedSourcesStandUprightInEveryFormat(int quarters, boolean mirrored, String format) throws Exception {
    String name = "turned" + quarters + mirrored;
    Path source = withMatrix(turned(name + ".mp4", "320x180", 270), quarters, mirrored);
    int width = quarters % 2 == 0 ? 160 : 90;
    int height = 250 - width;
    Path logo = folder.resolve("logo.png");
    BufferedImage green = new BufferedImage(40, 20, BufferedImage.TYPE_INT_RGB);
    for (int x = 0; x < 40; x++) for (int y = 0; y < 20; y++) green.setRGB(x, y, x < 20 ? 0xff00 : 0xff);
    ImageIO.write(green, "png", logo.toFile());
    Path report = folder.resolve("turned.json");
    Captured run =
        transcode(
            source, format, width + "x" + height + "@2M", "--report", report.toString(), "--overlay",
            logo + ",align=top-right", "--overlay", logo + ",align=bottom-left,x=4,width=20,height=10,on=0");
    assertFalse(run.err().contains("turned by"), run.err());
    String json = Files.readString(report);
    assertTrue(json.contains("\"width\": " + width * 2 + ","), "the input's size counts as shown: " + json);
    Path file = rendition(source, format, width + "x" + height);
    assertEquals("", probe(file, "stream_side_data=rotation"));
    I420 made = new I420(Clips.decode(file), width, height);
    Path raw = folder.resolve("upright.yuv");
    Clips.make("-i " + source + " -vf scale=" + width + ":" + height + ":flags=bicubic -pix_fmt yuv420p -f rawvideo", raw);
    I420 expected = new I420(Files.readAllBytes(raw), width, height);
    assertEquals(expected.frames(), made.frames());
    for (int x = 0; x < width; x += 10)
      for (int y = 20; y < height - 20; y += 10)
        assertEquals(expected.average(2, 0, x, y, 10, 10), made.average(2, 0, x, y, 10, 10), 9, x + "," + y);
    assertGreenThenBlue("upper right logo", made, width - 20, 0);
    assertGreenThenBlue("lower left logo", made, 4, height - 10);
  }

  /** A logo of 20x10 pixels at a place. */
  private static void assertGreenThenBlue(String what, I420 made, int x, int y) {
    assertEquals(42, made.average(2, 1, x + 2, y + 2, 6, 6), 20, what + ", left half");
    assertEquals(240, made.average(2, 1, x + 12, y + 2, 6, 6), 20, what + ", right half");
  }

  @Test
  void aPhoneClipGetsALadderOfItsUprightSize() throws Exception {
    Path media = Clips.media();
    if (media == null) {
      System.out.println("skipped: QVS_MEDIA names no folder of real streams");
      return;
    }
    Path source = media.resolve("clips/hevc/desk_hevc_1920x1080_aac_48KHz_rot90.mp4");
    Path out = folder.resolve("ladder");
    Captured run = Captured.run("transcode", source.toString(), "-o", out.toString(), "--no-contact-sheet");
    assertEquals(0, run.code(), run.err());
    String stem = source.getFileName().toString().replace(".mp4", "_");
    assertEquals(
        List.of(stem + "1080x1920.mp4", stem + "360x640.mp4", stem + "480x854.mp4", stem + "720x1280.mp4"),
        Clips.namesIn(out));
    for (String size : List.of("1080x1920", "360x640")) {
      Path file = out.resolve(stem + size + ".mp4");
      assertTrue(difference(shown(source), shown(file)) < 6, size + ": " + difference(shown(source), shown(file)));
    }
  }

  // The clip's own matrix is that of a quarter: a, b, u, c, d.
  private static Path withMatrix(Path file, int quarters, boolean mirrored) throws Exception {
    String bytes = Files.readString(file, StandardCharsets.ISO_8859_1);
    String quarter = "\0\0\0\0\0\1\0\0\0\0\0\0\377\377\0\0\0\0\0\0";
    assertTrue(bytes.contains(quarter), "the clip is turned by a quarter");
    int cos = new int[] {1, 0, -1, 0}[quarters];
    int sin = new int[] {0, 1, 0, -1}[quarters];
    String matrix = fixed(mirrored ? -cos : cos) + fixed(mirrored ? -sin : sin) + fixed(0) + fixed(-sin) + fixed(cos);
    return Files.writeString(file, bytes.replace(quarter, matrix), StandardCharsets.ISO_8859_1);
  }

  private static String fixed(int number) {
    return number == 0 ? "\0\0\0\0" : number > 0 ? "\0\1\0\0" : "\377\377\0\0";
  }

  private static Path turned(String name, String size, int degrees) throws Exception {
    Path plain = bars("upright-" + name, size, BT709);
    return Clips.make("-i " + plain + " -c copy -metadata:s:v rotate=" + degrees, folder.resolve(name));
  }

  @Test
  void turnsOfEveryKindAreRead() throws Exception {
    String[] texts = {"as coded", "turned by 270 degrees clockwise", "turned by 180 degrees clockwise"};
    for (int i = 0; i < texts.length; i++)
      assertEquals(texts[i], display(turned("turn" + i + ".mp4", "128x96", 90 * i)));
    assertEquals(
        "mirrored top to bottom and turned by 180 degrees clockwise",
        new DisplayMatrix(-(1 << 16), 0, 0, 1 << 16).toString());
    // A matrix that flattens the picture to nothing.
    Path file = turned("flat.mp4", "128x96", 270);
    String bytes = Files.readString(file, StandardCharsets.ISO_8859_1);
    String quarter = "\0\0\0\0\0\1\0\0\0\0\0\0\377\377\0\0";
    assertTrue(bytes.contains(quarter), "the clip is turned by a quarter");
    Files.writeString(file, bytes.replace(quarter, "\0".repeat(16)), StandardCharsets.ISO_8859_1);
    assertEquals("as coded", display(file));
  }

  private static String display(Path file) throws Exception {
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(file)) {
      return reader.video().display().toString();
    }
  }

  /** The first picture as a screen would show it, made small: RGB. */
  private static byte[] shown(Path file) throws Exception {
    Path raw = Files.createTempFile(folder, "shown", ".rgb");
    Clips.make("-i " + file + " -frames:v 1 -vf scale=64:36:flags=area -pix_fmt rgb24 -f rawvideo", raw);
    return Files.readAllBytes(raw);
  }

  private static double difference(byte[] a, byte[] b) {
    assertEquals(a.length, b.length);
    long sum = 0;
    for (int i = 0; i < a.length; i++) sum += Math.abs((a[i] & 0xff) - (b[i] & 0xff));
    return (double) sum / a.length;
  }
}
