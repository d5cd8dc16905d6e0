package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.job.VideoQuality;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.RenditionPath;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.host.support.Beeps;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.host.support.I420;
import java.awt.Rectangle;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** H.264 and its kin: all of them in, H.264 and H.265 out, in every container. */
class H264Test {
  private static final String X264 = "-c:v libx264 -preset ultrafast -bf 2 -b_strategy 0 ";
  private static final double[] RED = {81, 90, 240};
  private static final double[] BLUE = {41, 240, 110};
  private static final double[] BLACK_BAR = {0, 128, 128};

  @TempDir static Path folder;

  private static Path clip(String name, String size, String rate, int frames, String coder) throws Exception {
    return Clips.make(
        "-f lavfi -i testsrc2=size=" + size + ":rate=" + rate + " -frames:v " + frames + " " + coder,
        folder.resolve(name));
  }

  private static Path transcode(Path source, String out, String... more) {
    Path directory = folder.resolve(out);
    List<String> arguments =
        new ArrayList<>(List.of("transcode", source.toString(), "-o", directory.toString(), "--no-contact-sheet"));
    arguments.addAll(List.of(more));
    Captured run = Captured.run(arguments.toArray(new String[0]));
    assertEquals(0, run.code(), run.err());
    return directory;
  }

  private static List<String> probe(Path file, String what) throws Exception {
    return probe(file.toString(), what);
  }

  private static List<String> probe(String file, String what) throws Exception {
    return Clips.run(
            "ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries", what, "-of", "csv=p=0", file)
        .lines()
        .map(line -> line.replaceAll(",+$", ""))
        .filter(line -> !line.isEmpty())
        .toList();
  }

  /** Times at which pictures are shown, in that order, in milliseconds. */
  private static List<Long> shown(Path file) throws Exception {
    return Clips.times(file).stream().map(t -> Math.round(Double.parseDouble(t) * 1000)).sorted().toList();
  }

  private static List<Double> keys(Path file) throws Exception {
    return probe(file, "packet=pts_time,flags").stream()
        .filter(line -> line.contains("K"))
        .map(line -> Double.parseDouble(line.split(",")[0]))
        .toList();
  }

  // The last one: an elementary stream, whose times are made up of its rate alone.
  @ParameterizedTest
  @CsvSource({
    "h264.mp4, -c:v libx264 -preset ultrafast -bf 2 -b_strategy 0, 99",
    "h264.ts, -c:v libx264 -preset ultrafast -bf 2 -b_strategy 0, 99",
    "h264.flv, -c:v libx264 -preset ultrafast -bf 2 -b_strategy 0, 99",
    "h264.264, -c:v libx264 -preset ultrafast -bf 2 -b_strategy 0, 99",
    "h265.mkv, -c:v libx265 -preset ultrafast -x265-params log-level=none:pools=1, 99",
    "h265.h265, -c:v libx265 -preset ultrafast -x265-params log-level=none:pools=1, 99",
    "mpeg4.mp4, -c:v mpeg4 -q:v 3 -bf 2, 40",
    "mpeg4.avi, -c:v mpeg4 -q:v 3 -bf 2, 40",
    "h263.h263, -c:v h263 -q:v 3 -s 352x288, 40",
    "spark.flv, -c:v flv1 -q:v 3, 40",
    "mpeg2.ts, -c:v mpeg2video -q:v 3 -bf 2, 40",
    "mpeg2.m2v, -c:v mpeg2video -q:v 3 -bf 2, 40",
    "mpeg2.mpg, -c:v mpeg2video -q:v 3 -bf 2, 40"
  })
  void everyCodecComesInWholeAndInStep(String name, String coder, double leastDb) throws Exception {
    Path source = clip(name, "320x240", "25", 30, coder);
    Captured run = Captured.run("decode", source.toString(), "--framemd5");
    assertEquals(0, run.code(), run.err());
    byte[] expected = Clips.decode(source);
    assertTrue(run.out().contains("pictures: 30, "), run.out());
    if (leastDb > 90) assertTrue(run.out().contains("pictures: 30, " + DecodeTest.md5(expected)), run.out());
    List<String> lines = run.outLines();
    long first = Long.parseLong(lines.get(0).split(", ")[1]);
    boolean ownClock = name.startsWith("h263"); // it counts in 1001/30000 s and has no picture at some counts
    for (int i = 1; i < 30 && !ownClock; i++)
      assertEquals(first + 40 * i, Long.parseLong(lines.get(i).split(", ")[1]), 1, name + " picture " + i);
    Path out = transcode(source, "in-" + name, "--rendition", "320x240@3M,fit=stretch");
    Path file = out.resolve(name.split("\\.")[0] + "_320x240.mp4");
    List<Long> times = shown(file);
    assertEquals(30, times.size());
    for (int i = 0; i < 30 && !ownClock; i++) assertEquals(times.get(0) + 40 * i, times.get(i), 1, name + " picture " + i);
    assertAlike(expected, Clips.decode(file), name);
  }

  private static void assertAlike(byte[] expected, byte[] found, String what) {
    if (what.startsWith("h263")) return;
    assertEquals(expected.length, found.length, what);
    double error = 0;
    for (int i = 0; i < found.length; i++) {
      int difference = (expected[i] & 0xff) - (found[i] & 0xff);
      error += difference * difference;
    }
    double psnr = 10 * Math.log10(255.0 * 255.0 * found.length / Math.max(1, error));
    assertTrue(psnr > 30, what + ": " + psnr + " dB");
  }

  @Test
  void withoutOptionsALadderBelowTheSourceComesOut() throws Exception {
    Path source = clipWithAudio("plain.mp4", 3, "-s 854x480 " + X264 + "-c:a aac");
    Path out = transcode(source, "plain");
    assertEquals(List.of("plain_640x360.mp4", "plain_854x480.mp4"), Clips.namesIn(out));
    for (String name : Clips.namesIn(out)) {
      String streams = Clips.run("ffprobe", "-v", "error", "-show_entries", "stream=codec_name", "-of", "csv=p=0",
          out.resolve(name).toString());
      assertEquals("h264\naac", streams.strip(), name);
      assertEquals(Clips.times(source).stream().sorted().toList(), Clips.times(out.resolve(name)).stream().sorted().toList(), name);
      assertTrue(Files.size(out.resolve(name)) <= Files.size(source), name);
      Beeps.assertSame(Beeps.in(source, 0), Beeps.in(out.resolve(name), 0), name);
    }
    assertEquals(List.of("plain_640x360.mp4"),
        Clips.namesIn(transcode(source, "mute", "--rendition", "640x360", "--no-audio")));
  }

  private static Path clipWithAudio(String name, int seconds, String coder) throws Exception {
    return Clips.make(
        "-f lavfi -i testsrc2=size=640x360:rate=30000/1001 -f lavfi -i " + Beeps.source(48_000, seconds) + " -t "
            + seconds + " " + coder,
        folder.resolve(name));
  }

  @Test
  void hlsRenditionsChangeSegmentsAtTheSameInstants() throws Exception {
    Path source = clipWithAudio("live.mp4", 5, X264 + "-c:a aac");
    Path out =
        transcode(
            source, "hls100%", "--format", "hls", "--keyframes", "1", "--rendition", "640x360@600k", "--rendition",
            "426x240@300k,bframes=2", "--rendition", "320x180@200k,fps=15,profile=baseline", "--rendition",
            "480x270@300k,codec=h265");
    List<String> names = List.of("live_640x360", "live_426x240", "live_320x180", "live_480x270");
    List<Double> keys = keys(out.resolve(names.get(0)).resolve("index.m3u8"));
    assertEquals(5, keys.size());
    for (String name : names) {
      Path playlist = out.resolve(name).resolve("index.m3u8");
      List<Double> own = keys(playlist);
      assertEquals(keys.size(), own.size(), name);
      for (int i = 0; i < own.size(); i++) assertEquals(keys.get(i), own.get(i), 0.5 / 30, name + " key picture " + i);
      List<Path> segments;
      try (var files = Files.list(out.resolve(name))) {
        segments = files.filter(file -> file.getFileName().toString().startsWith("segment")).sorted().toList();
      }
      assertEquals(keys.size(), segments.size(), name);
      for (Path segment : segments) {
        String file = segment.toString();
        if (file.endsWith("m4s")) file = "concat:" + segment.resolveSibling("init_00000.mp4") + "|" + file;
        assertTrue(probe(file, "packet=flags").get(0).startsWith("K"), segment + " starts with a key picture");
      }
      Beeps.assertSame(Beeps.in(source, 0), Beeps.in(playlist, 0), name);
    }
    List<Long> times = shown(source);
    assertEquals(times, shown(out.resolve("live_426x240/index.m3u8")), "times with B pictures in the rendition");
    assertTrue(probe(out.resolve("live_426x240/index.m3u8"), "frame=pict_type").contains("B"));
    assertTrue(Math.abs(shown(out.resolve("live_320x180/index.m3u8")).size() - times.size() / 2) <= 1);
    String master = Files.readString(out.resolve("live.m3u8"));
    assertTrue(
        master.contains("RESOLUTION=320x180") && master.contains("CODECS=\"avc1.42") && master.contains("mp4a.40.2"),
        master);
    assertEquals("640,360", probe(out.resolve("live.m3u8"), "stream=width,height").get(0), master);
    String fragments = master.lines().filter(line -> line.contains("RESOLUTION=480x270")).findFirst().orElse("");
    assertTrue(fragments.contains("FRAME-RATE=29.970,CODECS=\"hvc1.1.6.L63.90,mp4a.40.2\""), master);
    double psnr = VideoQuality.psnr(source, out.resolve("live_480x270/index.m3u8"), new Rectangle());
    assertTrue(psnr > 30, "H.265: " + psnr + " dB");
    assertTrue(Clips.namesIn(out).stream().noneMatch(name -> name.endsWith(".part")));
  }

  @ParameterizedTest
  @CsvSource({"mp4, h264", "flv, h264", "mkv, h264", "ts, h264", "mp4, h265", "mkv, h265", "ts, h265"})
  void soundStaysInStepInEveryContainer(String format, String codec) throws Exception {
    boolean hevc = codec.equals("h265");
    Path source = clipWithAudio("step-" + format + ".mkv", 3, X264 + "-c:a aac -output_ts_offset 0.7");
    String how = "320x180@300k,level=3.1,preset=" + (hevc ? "ultrafast,bframes=2,codec=h265" : "fast");
    Path out = transcode(source, "step-" + codec, "--format", format, "--rendition", how);
    Path file = out.resolve("step-" + format + "_320x180." + format);
    assertEquals(hevc ? "93" : "31", probe(file, "stream=level").get(0));
    if (hevc && format.equals("mp4")) assertSetsAreOutOfBand(file);
    List<Long> before = shown(source);
    List<Long> after = shown(file);
    long moved = after.get(0) - before.get(0);
    for (int i = 0; i < before.size(); i++) assertEquals(before.get(i) + moved, after.get(i), 1, "picture " + i);
    Beeps.assertSame(Beeps.in(source, 0).stream().map(t -> t + moved).toList(), Beeps.in(file, 0), format);
  }

  /** A cut between two key instants gets no key picture of its own, which other renditions would not have. */
  @ParameterizedTest
  @CsvSource({"mp4,", "ts,", "mkv,x264", "mp4,x265"})
  void picturesOfFilesAreHeldBackUnlessInRealTime(String format, String encoder) throws Exception {
    Path source =
        Clips.make(
            "-f lavfi -i testsrc2=size=640x360:rate=30:duration=1.5 -f lavfi -i mandelbrot=size=640x360:rate=30"
                + " -filter_complex concat -t 3 " + X264,
            folder.resolve("cut.mp4"));
    String more = encoder == null ? "" : ",encoder=" + encoder + (encoder.equals("x265") ? ",codec=h265" : "");
    for (String way : List.of("planned", "realtime")) {
      List<String> options = new ArrayList<>(List.of("--keyframes", "1", "--format", format));
      if (way.equals("realtime")) options.add("--realtime");
      for (String size : List.of("640x360@600k", "320x180@200k")) options.addAll(List.of("--rendition", size + more));
      Path out = transcode(source, "cut-" + way + format + encoder, options.toArray(new String[0]));
      for (String name : List.of("cut_640x360.", "cut_320x180.")) {
        Path file = out.resolve(name + format);
        String what = way + " " + name + format;
        assertEquals(way.equals("planned"), probe(file, "frame=pict_type").contains("B"), what);
        List<Long> times = shown(file);
        for (int i = 0; i < 90; i++) assertEquals(times.get(0) + i * 1000L / 30, times.get(i), 1, what);
        double start = times.get(0) / 1000.0;
        assertEquals(List.of(0L, 1L, 2L), keys(file).stream().map(key -> Math.round(key - start)).toList(), what);
        double last = -1;
        for (String line : probe(file, "packet=pts_time,dts_time")) {
          if (line.endsWith("N/A")) continue; // MKV has no times of decoding
          double shown = Double.parseDouble(line.split(",")[0]);
          double decoded = Double.parseDouble(line.split(",")[1]);
          assertTrue(decoded > last && decoded <= shown && (way.equals("planned") || decoded == shown), what + ": " + line);
          last = decoded;
        }
      }
    }
  }

  private static void assertSetsAreOutOfBand(Path file) throws Exception {
    assertEquals("hvc1", probe(file, "stream=codec_tag_string").get(0));
    try (MediaReader reader = MediaReader.open(file)) {
      reader.ignore(MediaKind.AUDIO);
      assertEquals(3, ParameterSets.ofRecord(true, reader.videoConfig()).all().size());
      for (MediaPacket packet = reader.next(); packet != null; packet = reader.next())
        assertFalse(new ParameterSets(true).holdsAnyOf(NalUnits.ofLengths(packet.data(), 0, packet.data().length, 4)));
    }
  }

  @Test
  void interlacedPicturesAreDeinterlacedAtEitherRate() throws Exception {
    Path source =
        Clips.make(
            "-f lavfi -i testsrc2=size=352x288:rate=50 -t 1 -vf interlace -c:v libx264 -preset ultrafast -x264-params"
                + " interlaced=1:tff=1",
            folder.resolve("fields.mkv"));
    double[] combing = new double[3];
    int[] counts = new int[3];
    for (Deinterlace way : Deinterlace.values()) {
      Path out =
          transcode(source, way.label(), "--deinterlace", way.label(), "--rendition", "352x288@4M,fit=stretch");
      Path file = out.resolve("fields_352x288.mp4");
      combing[way.ordinal()] = combing(Clips.decode(file), 352, 288, 6);
      List<Long> times = shown(file);
      counts[way.ordinal()] = times.size();
      int step = way == Deinterlace.DOUBLE ? 20 : 40;
      for (int i = 0; i < times.size(); i++) assertEquals(times.get(0) + step * i, times.get(i), 1);
    }
    assertEquals("[25, 25, 50]", Arrays.toString(counts));
    assertTrue(combing[1] < combing[0] / 2 && combing[2] < combing[0] / 2, Arrays.toString(combing));
  }

  /** How much rows differ from both neighbours alike, as they do where two fields show different times. */
  private static double combing(byte[] frames, int width, int height, int frame) {
    int size = width * height * 3 / 2;
    long sum = 0;
    for (int y = 1; y + 1 < height; y++)
      for (int x = 0; x < width; x++) {
        int at = frame * size + y * width + x;
        int above = (frames[at] & 0xff) - (frames[at - width] & 0xff);
        int below = (frames[at] & 0xff) - (frames[at + width] & 0xff);
        if (above * below > 400) sum++;
      }
    return sum;
  }

  @Test
  void deepAndFullChromaSourcesComeOutInTheirColours() throws Exception {
    String avc = "libx264 -preset ultrafast -pix_fmt ";
    String vp9 = "libvpx-vp9 -deadline realtime -cpu-used 8 -pix_fmt ";
    List<String> coders =
        List.of(
            avc + "yuv420p10le", avc + "yuv422p", avc + "yuv444p", vp9 + "yuv420p12le", vp9 + "yuv422p10le",
            vp9 + "yuv444p", vp9 + "gbrp");
    for (String coder : coders) {
      String format = coder.substring(3, 6) + "-" + coder.substring(coder.lastIndexOf(' ') + 1);
      Path source =
          Clips.make(
              "-f lavfi -i color=red:size=160x128:rate=25 -f lavfi -i color=blue:size=160x128:rate=25 -filter_complex"
                  + " hstack -frames:v 6 -c:v " + coder,
              folder.resolve(format + ".mp4"));
      Path out = transcode(source, "deep", "--rendition", "320x320@1M");
      I420 frames = new I420(Clips.decode(out.resolve(format + "_320x320.mp4")), 320, 320);
      // RGB has full range, whose black ffmpeg raises.
      double[] bar = format.endsWith("gbrp") ? new double[] {16, 128, 128} : BLACK_BAR;
      frames.assertColor(format + " bar", 5, 0, 0, 320, 88, bar);
      frames.assertColor(format + " left", 5, 8, 112, 136, 96, RED);
      frames.assertColor(format + " right", 5, 176, 112, 136, 96, BLUE);
    }
  }

  @Test
  void pixelsThatAreNotSquareKeepTheirAspect() throws Exception {
    Path wide = clip("wide.mkv", "360x288", "25", 4, "-vf setsar=16/11 " + X264);
    assertTrue(Clips.namesIn(transcode(wide, "wide")).contains("wide_524x288.mp4"), "the ladder's pixels are square");
    // An MPEG-2 stream of square pixels, whose decoder tells the aspect of a square picture.
    Path square =
        Clips.make(
            "-f lavfi -i color=red:size=320x160:rate=25 -frames:v 4 -vf setsar=1 -c:v mpeg2video",
            folder.resolve("square.m2v"));
    Path out = transcode(square, "square", "--rendition", "160x160@500k");
    I420 frames = new I420(Clips.decode(out.resolve("square_160x160.mp4")), 160, 160);
    frames.assertColor("bar", 3, 0, 0, 160, 36, BLACK_BAR);
    frames.assertColor("whole width", 3, 0, 48, 160, 64, RED);
  }

  @Test
  void theBitRateChangesWhileRunning() throws Exception {
    Path media = Clips.media();
    Path source =
        media != null
            ? media.resolve("clips/h264/bear-1280x720.mp4")
            : clip("rate.mp4", "640x360", "30", 90, X264);
    RenditionSpec spec = RenditionSpec.parse("640x360@1500k").settled(VideoCodec.H264, 0, null);
    long[] bytes = new long[2];
    int[] keys = new int[1];
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(source)) {
      reader.ignore(MediaKind.AUDIO);
      SessionSettings settings =
          SessionSettings.of("rate").video(reader).renditions(List.of(spec)).keyFrameSeconds(60).previewWidth(64).build();
      int[] half = {0};
      SessionOutput output =
          new SessionOutput() {
            @Override
            public void packet(
                int rendition, com.zarvo.qvs.transcoder.model.TranscoderPacket packet, long pts, long dts)
                throws IOException {
              bytes[half[0]] += packet.len;
              if (packet.frameType == RenditionPath.FRAME_KEY) keys[0]++;
            }
          };
      try (TranscodeSession session = new TranscodeSession(settings, output, null)) {
        int frames = 0;
        for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) {
          session.push(packet);
          if (++frames == 40) session.updateBitRate(0, 200_000);
          if (frames == 40) half[0] = 1;
        }
        session.drain();
      }
    }
    assertTrue(bytes[1] > 0 && bytes[1] < bytes[0] / 2, Arrays.toString(bytes));
    assertEquals(1, keys[0], "no key picture comes of it");
  }

  @Test
  void rungsSideBySideGiveTheSameBytes() throws Exception {
    Path source = clip("sides.mp4", "320x180", "30", 40, X264);
    String[] options = {"--realtime", "--format", "flv", "--rendition", "320x180@600k", "--rendition", "160x90@200k"};
    Path parallel = transcode(source, "parallel", options);
    List<String> sequential = new ArrayList<>(List.of(options));
    sequential.add("--no-parallel");
    Path alone = transcode(source, "alone", sequential.toArray(new String[0]));
    for (String name : List.of("sides_320x180.flv", "sides_160x90.flv"))
      assertEquals(-1, Files.mismatch(parallel.resolve(name), alone.resolve(name)), name);
  }

  @Test
  void damageCostsPicturesAndNothingElse() throws Exception {
    Path source = clip("hurt.ts", "320x240", "25", 60, "-g 15 " + X264);
    byte[] bytes = Files.readAllBytes(source);
    for (int i = bytes.length / 3; i < bytes.length / 2; i += 211) bytes[i] ^= 0x5a;
    Path hurt = Files.write(folder.resolve("hurt2.ts"), bytes);
    Path out = transcode(hurt, "hurt", "--rendition", "160x120@200k");
    int count = Clips.times(out.resolve("hurt2_160x120.mp4")).size();
    assertTrue(count > 30 && count <= 60, "pictures: " + count);
    // A stream without its parameter sets.
    Path raw = clip("sets.264", "64x64", "25", 3, X264);
    List<byte[]> units = new ArrayList<>(NalUnits.ofStartCodes(Files.readAllBytes(raw)));
    units.removeIf(unit -> (unit[0] & 31) == 7 || (unit[0] & 31) == 8);
    byte[] lengths = NalUnits.withLengths(units, 4);
    for (int at = 0; at < lengths.length; ) {
      int size = java.nio.ByteBuffer.wrap(lengths, at, 4).getInt();
      lengths[at + 3] = 1;
      lengths[at] = lengths[at + 1] = lengths[at + 2] = 0;
      at += 4 + size;
    }
    Path bare = Files.write(folder.resolve("bare.264"), lengths);
    Captured run = Captured.run("transcode", bare.toString(), "-o", folder.resolve("bare").toString());
    assertNotEquals(0, run.code());
    assertTrue(run.err().lines().count() == 1 && run.err().startsWith("qvs: "), run.err());
    assertFalse(Files.exists(folder.resolve("bare")) && !Clips.namesIn(folder.resolve("bare")).isEmpty());
  }

  @Test
  void realClipsBecomeLadders() throws Exception {
    Path media = Clips.media();
    if (media == null) {
      System.out.println("skipped: QVS_MEDIA names no folder of real streams");
      return;
    }
    for (String name :
        List.of(
            "h264/video_h264_main_b_frames.mp4", "h264/bear-640x360.ts", "h264/sample.flv",
            "h264/sample_2_byte_NAL_length.mp4")) {
      Path source = media.resolve("clips").resolve(name);
      Path out = transcode(source, "real", "--rendition", "640x360@1500k,fit=stretch");
      String stem = source.getFileName().toString().replaceAll("\\.\\w+$", "");
      double psnr = VideoQuality.psnr(source, out.resolve(stem + "_640x360.mp4"), new Rectangle());
      System.out.println(name + ": " + psnr + " dB");
      assertTrue(psnr > 30, name + ": " + psnr + " dB");
    }
  }
}
