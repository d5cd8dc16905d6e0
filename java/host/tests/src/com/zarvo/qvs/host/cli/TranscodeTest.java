package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.job.VideoQuality;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.host.support.I420;
import java.awt.Color;
import java.awt.Graphics2D;
import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.io.ByteArrayOutputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Whole files through the whole transcoder, judged by tools that share no code with it. */
class TranscodeTest {
  // Limited-range BT.601 red, blue and green as the ffmpeg colour source makes them.
  private static final double[] RED = {81, 90, 240};
  private static final double[] BLUE = {41, 240, 110};
  private static final double[] BLACK_BAR = {0, 128, 128};

  @TempDir static Path folder;

  private static Path outOf(String name) {
    return folder.resolve(name);
  }

  private static void transcode(Path input, Path directory, String... more) {
    List<String> arguments =
        new ArrayList<>(List.of("transcode", input.toString(), "-o", directory.toString()));
    arguments.addAll(List.of(more));
    if (!arguments.contains("--format")) arguments.addAll(List.of("--format", "webm"));
    Captured run = Captured.run(arguments.toArray(new String[0]));
    assertEquals(0, run.code(), run.err());
  }

  private static I420 decoded(Path file, int width, int height) throws Exception {
    return new I420(Clips.decode(file), width, height);
  }

  /** Two halves of still colour: red at the left, blue at the right. */
  private static Path redAndBlue(String name, int width, int height, int frames) throws Exception {
    String half = "size=" + width / 2 + "x" + height + ":rate=30";
    return Clips.make(
        "-f lavfi -i color=red:" + half + " -f lavfi -i color=blue:" + half
            + " -filter_complex hstack -frames:v " + frames
            + " -c:v libvpx -b:v 2M -deadline realtime -cpu-used 8 -pix_fmt yuv420p",
        folder.resolve(name));
  }

  @Test
  void aLadderKeepsEveryPictureAndItsExactTime() throws Exception {
    Path source = Clips.testVideo(folder.resolve("ntsc.ivf"), "640x360", "30000/1001", 75, "");
    Path report = folder.resolve("report.json");
    transcode(
        source, outOf("ladder"), "--format", "ivf", "--report", report.toString(), "--keyframes", "0.5",
        "--rendition", "640x360@1500k", "--rendition", "428x240@700k", "--rendition",
        "320x180@400k,codec=vp9");
    for (String size : List.of("640x360", "428x240", "320x180")) {
      Path file = outOf("ladder").resolve("ntsc_" + size + ".ivf");
      assertEquals(Clips.times(source), Clips.times(file), size);
      double psnr = VideoQuality.psnr(source, file, new Rectangle());
      assertTrue(psnr > 27, size + ": " + psnr + " dB");
    }
    String json = Files.readString(report);
    assertTrue(json.contains("\"pictures\": 75") && json.contains("\"keyPictures\": 5"), json);
    BufferedImage sheet = ImageIO.read(outOf("ladder").resolve("ntsc_contact-sheet.png").toFile());
    assertTrue(sheet.getHeight() > 3 * 180, "a row a rendition: " + sheet.getHeight());
    assertTrue(
        Clips.namesIn(outOf("ladder")).stream().noneMatch(name -> name.endsWith(".part")), "only whole files stay");
  }

  @Test
  void irregularTimesArriveCountedFromTheFirst() throws Exception {
    Path source =
        Clips.testVideo(
            folder.resolve("vfr.webm"), "128x96", "30", 60, "-vf select=mod(n\\,5)*mod(n\\,3) -vsync vfr");
    transcode(source, outOf("vfr"), "--rendition", "64x48@100k");
    List<String> times = Clips.times(source);
    double first = Double.parseDouble(times.get(0));
    assertTrue(first > 0);
    List<String> expected =
        times.stream().map(time -> String.format(Locale.ROOT, "%.6f", Double.parseDouble(time) - first)).toList();
    assertEquals(expected, Clips.times(outOf("vfr").resolve("vfr_64x48.webm")));
  }

  @Test
  void encodersSideBySideGiveTheSameBytes() throws Exception {
    Path source = Clips.testVideo(folder.resolve("both.ivf"), "320x180", "30", 60, "");
    String[] options = {"--format", "ivf", "--rendition", "320x180@600k", "--rendition", "160x90@200k"};
    transcode(source, outOf("parallel"), options);
    List<String> sequential = new ArrayList<>(Arrays.asList(options));
    sequential.add("--no-parallel");
    transcode(source, outOf("sequential"), sequential.toArray(new String[0]));
    for (String name : List.of("both_320x180.ivf", "both_160x90.ivf"))
      assertEquals(
          -1, Files.mismatch(outOf("parallel").resolve(name), outOf("sequential").resolve(name)), name);
  }

  @Test
  void letterboxAndStretchAndFillPutColoursWhereTheyBelong() throws Exception {
    Path source = redAndBlue("colours.webm", 320, 160, 8);
    transcode(
        source, outOf("fit"), "--format", "ivf", "--rendition", "160x160@500k", "--rendition",
        "160x128@500k,fit=stretch", "--rendition", "96x160@500k,fit=fill", "--rendition",
        "192x96@500k,fit=stretch,pad=32:32:16:16", "--rendition", "128x128@500k,fit=stretch,crop=160:0:0:0",
        "--rendition", "242x120@500k");
    I420 rounded = decoded(outOf("fit").resolve("colours_242x120.ivf"), 242, 120);
    rounded.assertColor("no bar at the left", 7, 0, 8, 2, 104, RED);
    rounded.assertColor("no bar at the right", 7, 240, 8, 2, 104, BLUE);
    I420 boxed = decoded(outOf("fit").resolve("colours_160x160.ivf"), 160, 160);
    boxed.assertColor("bar above", 7, 8, 8, 144, 24, BLACK_BAR);
    boxed.assertColor("bar below", 7, 8, 128, 144, 24, BLACK_BAR);
    boxed.assertColor("left", 7, 8, 48, 56, 64, RED);
    boxed.assertColor("right", 7, 96, 48, 56, 64, BLUE);
    I420 stretched = decoded(outOf("fit").resolve("colours_160x128.ivf"), 160, 128);
    stretched.assertColor("left", 7, 0, 0, 64, 128, RED);
    stretched.assertColor("right", 7, 96, 0, 64, 128, BLUE);
    I420 filled = decoded(outOf("fit").resolve("colours_96x160.ivf"), 96, 160);
    filled.assertColor("left", 7, 0, 0, 32, 160, RED);
    filled.assertColor("right", 7, 64, 0, 32, 160, BLUE);
    I420 padded = decoded(outOf("fit").resolve("colours_192x96.ivf"), 192, 96);
    padded.assertColor("room", 7, 0, 0, 24, 96, BLACK_BAR);
    padded.assertColor("left", 7, 40, 24, 48, 48, RED);
    padded.assertColor("right", 7, 104, 24, 48, 48, BLUE);
    I420 cropped = decoded(outOf("fit").resolve("colours_128x128.ivf"), 128, 128);
    cropped.assertColor("all", 7, 8, 8, 112, 112, BLUE);
  }

  private static Path greenPng(String name, int width, int height) throws Exception {
    BufferedImage image = new BufferedImage(width, height, BufferedImage.TYPE_INT_ARGB);
    Graphics2D graphics = image.createGraphics();
    graphics.setColor(Color.GREEN);
    graphics.fillRect(0, 0, width, height);
    graphics.dispose();
    Path file = folder.resolve(name);
    ImageIO.write(image, "png", file.toFile());
    return file;
  }

  @Test
  void overlaysLieWhereTheyWereAsked() throws Exception {
    Path source = redAndBlue("under.webm", 640, 320, 6);
    Path logo = greenPng("logo.png", 64, 32);
    transcode(
        source, outOf("overlay"), "--format", "ivf", "--rendition", "640x320@2M", "--rendition", "320x160@1M",
        "--overlay", logo + ",align=top-right,x=32,y=16", "--overlay", logo + ",align=bottom-left,x=16,y=16,on=1");
    I420 large = decoded(outOf("overlay").resolve("under_640x320.ivf"), 640, 320);
    assertGreen("on all", large, 640 - 32 - 64, 16, 64, 32);
    large.assertColor("beside it", 5, 640 - 28, 0, 24, 64, BLUE);
    large.assertColor("where only the other has one", 5, 16, 272, 64, 32, RED);
    I420 small = decoded(outOf("overlay").resolve("under_320x160.ivf"), 320, 160);
    assertGreen("on all, scaled", small, 320 - 16 - 32, 8, 32, 16);
    assertGreen("on this one", small, 16, 160 - 16 - 32, 64, 32);
    small.assertColor("above it", 5, 16, 80, 64, 24, RED);
  }

  // Green is dark in both chroma planes in every matrix and range; its luma differs between them.
  private static void assertGreen(String what, I420 file, int x, int y, int w, int h) {
    int inset = 6;
    double u = file.average(5, 1, x + inset, y + inset, w - 2 * inset, h - 2 * inset);
    double v = file.average(5, 2, x + inset, y + inset, w - 2 * inset, h - 2 * inset);
    assertTrue(u < 60 && v < 60, what + ": U " + u + ", V " + v);
  }

  @Test
  void aLowerRateLeavesPicturesOut() throws Exception {
    Path source = Clips.testVideo(folder.resolve("fast.ivf"), "128x96", "30", 60, "");
    transcode(
        source, outOf("slow"), "--format", "ivf", "--rendition", "128x96@300k,fps=15", "--rendition", "64x48@90k");
    List<String> times = Clips.times(source);
    List<String> kept = new ArrayList<>();
    for (int i = 0; i < times.size(); i += 2) kept.add(times.get(i));
    assertEquals(kept, Clips.times(outOf("slow").resolve("fast_128x96.ivf")));
    assertEquals(times, Clips.times(outOf("slow").resolve("fast_64x48.ivf")));
  }

  /** The frames of IVF files of different sizes in one file, times counted on. */
  private static Path joined(Path target, Path... parts) throws Exception {
    ByteArrayOutputStream all = new ByteArrayOutputStream();
    long frames = 0;
    for (Path part : parts) {
      byte[] bytes = Files.readAllBytes(part);
      if (frames == 0) all.write(bytes, 0, 32);
      for (int at = 32; at < bytes.length; frames++) {
        int size = (bytes[at] & 0xff) | (bytes[at + 1] & 0xff) << 8 | (bytes[at + 2] & 0xff) << 16;
        all.write(bytes, at, 4);
        for (int i = 0; i < 8; i++) all.write((int) (frames >> (8 * i)));
        all.write(bytes, at + 12, size);
        at += 12 + size;
      }
    }
    return Files.write(target, all.toByteArray());
  }

  @Test
  void aSourceThatChangesItsSizeGoesOn() throws Exception {
    Path small = Clips.testVideo(folder.resolve("small.ivf"), "176x144", "30", 10, "");
    Path large = Clips.testVideo(folder.resolve("large.ivf"), "640x360", "30", 10, "");
    Path odd = Clips.testVideo(folder.resolve("odd.ivf"), "175x143", "30", 10, "");
    Path source = joined(folder.resolve("sizes.ivf"), small, large, odd, small);
    transcode(source, outOf("sizes"), "--format", "ivf", "--rendition", "320x180@1M");
    Path file = outOf("sizes").resolve("sizes_320x180.ivf");
    assertEquals(40, Clips.times(file).size());
    I420 frames = decoded(file, 320, 180);
    frames.assertColor("bar beside the narrow picture", 9, 0, 0, 32, 180, BLACK_BAR);
    assertTrue(frames.average(19, 0, 0, 0, 32, 180) > 20, "the wide picture covers the bars");
    frames.assertColor("bar beside the odd picture", 29, 0, 0, 32, 180, BLACK_BAR);
  }

  @Test
  void damagedStreamsEndWithoutHarm() throws Exception {
    Path source = Clips.testVideo(folder.resolve("whole.ivf"), "176x144", "30", 40, "");
    byte[] bytes = Files.readAllBytes(source);
    Path cut = Files.write(folder.resolve("cut.ivf"), Arrays.copyOf(bytes, bytes.length * 2 / 3));
    for (int i = 700; i < bytes.length; i += 997) bytes[i] ^= 0x5a;
    Path flipped = Files.write(folder.resolve("flipped.ivf"), bytes);
    Captured early =
        Captured.run(
            "transcode", cut.toString(), "-o", outOf("cut").toString(), "--format", "webm", "--rendition", "64x48@90k");
    // Where two thirds of the bytes end depends on how the realtime encoder spread them.
    assertTrue(
        early.code() == 1
            && early.err().matches("(?s).*cut\\.ivf: ended early at 0\\.[6-9] s, within a packet.*"),
        early.err());
    assertTrue(Clips.times(outOf("cut").resolve("cut_64x48.webm")).size() >= 20);
    Captured run =
        Captured.run("transcode", flipped.toString(), "-o", outOf("flipped").toString(), "--rendition", "64x48");
    assertFalse(run.err().contains("\tat "), run.err());
  }

  @Test
  void damagedPicturesAreTold() throws Exception {
    Path whole = Clips.make("-f lavfi -i testsrc2=size=176x144:rate=25:duration=1 -c:v libx264", folder.resolve("w.264"));
    byte[] bytes = Files.readAllBytes(whole);
    for (int i = bytes.length / 2; i < bytes.length; i += 997) bytes[i] ^= 0x5a;
    Path flipped = Files.write(folder.resolve("f.264"), bytes);
    Path report = folder.resolve("report.json");
    Captured run =
        Captured.run("transcode", flipped.toString(), "-o", outOf("f").toString(), "--report", report.toString());
    assertEquals(0, run.code(), run.err());
    assertTrue(run.err().matches("(?s).*qvs: damaged pictures: [1-9].*"), run.err());
    assertFalse(Files.readString(report).contains("\"damagedPictures\": 0"), Files.readString(report));
    Captured clean = Captured.run("transcode", whole.toString(), "-o", outOf("w").toString());
    assertFalse(clean.err().contains("damaged"), clean.err());
  }

  @Test
  void realClipsBecomeLadders() throws Exception {
    Path media = Clips.media();
    if (media == null) {
      System.out.println("skipped: QVS_MEDIA names no folder of real streams");
      return;
    }
    String[][] clips = {
      {"clips/vp8/vp8_in_webm.webm", "854x480"},
      {"clips/vp9/bear-vp9-odd-dimensions.webm", "160x120"},
      {"clips/vp9/bear-320x180-vp9-altref.webm", "320x180"},
      {"clips/vp9/bear-640x360-vp9.mp4", "640x360"},
      {"clips/vp8/swirl_130x132_vp8.webm", "130x132"},
    };
    for (String[] clip : clips) {
      Path source = media.resolve(clip[0]);
      Path directory = outOf("real-" + source.getFileName());
      transcode(source, directory, "--format", "ivf", "--rendition", clip[1] + "@2M,fit=stretch");
      Path file = directory.resolve(Clips.namesIn(directory).get(0).endsWith(".ivf")
          ? Clips.namesIn(directory).get(0) : Clips.namesIn(directory).get(1));
      assertEquals(Clips.times(source), Clips.times(file), clip[0]);
      double psnr = VideoQuality.psnr(source, file, new Rectangle());
      System.out.println(clip[0] + ": " + psnr + " dB");
      assertTrue(psnr > 28, clip[0] + ": " + psnr + " dB");
    }
  }
}
