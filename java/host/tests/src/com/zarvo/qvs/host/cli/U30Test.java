package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.transcoder.model.TranscoderVideoU30MXBean;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** The accelerator card on the command line, over a fake that ends the process where a picture is lost or used twice. */
class U30Test {
  private static final int FRAMES = 60;

  @TempDir static Path folder;
  private static Path source;

  /** In a process of its own, whose calls into the card count from one. What it printed. */
  private static String run(String faults, int expected, String... arguments) throws Exception {
    Path said = Files.createTempFile(folder, "said", ".txt");
    int code = Captured.start(List.of("env", "QVS_FAKE_FAULTS=" + faults), said, arguments).waitFor();
    assertEquals(expected, code, Files.readString(said));
    return Files.readString(said);
  }

  private static String transcode(String name, String faults, String... more) throws Exception {
    List<String> arguments = new ArrayList<>(List.of("transcode", source.toString()));
    arguments.addAll(List.of("-o", folder.resolve(name).toString(), "--report", folder.resolve(name + ".json").toString()));
    arguments.addAll(List.of(more));
    return run(faults, 0, arguments.toArray(new String[0]));
  }

  // In the order in which pictures are shown: the source has B pictures.
  private static List<String> times(Path file) throws Exception {
    return Clips.times(file).stream().sorted().toList();
  }

  private static void assertWhole(Path file) throws Exception {
    assertEquals(times(source), times(file));
    List<Double> psnr = Clips.psnr(source, file);
    assertEquals(FRAMES, psnr.size());
    for (double db : psnr) assertTrue(db > 25, file + ": " + db + " dB");
  }

  @BeforeAll
  static void makeSource() throws Exception {
    source =
        Clips.make(
            "-f lavfi -i testsrc2=size=320x180:rate=30 -frames:v " + FRAMES + " -c:v libx264 -g 30 -b:v 2M",
            folder.resolve("clip.mp4"));
  }

  @Test
  void aLadderStaysOnTheCard() throws Exception {
    String said =
        transcode(
            "ladder", "pipeline=3", "--device", "u30", "--encoder", "u30", "--rendition", "320x180@600k",
            "--rendition", "160x90@200k,codec=h265", "--rendition", "160x90@200k,fps=15");
    assertFalse(said.contains("could not") || said.contains("failed"), said);
    assertWhole(folder.resolve("ladder/clip_320x180.mp4"));
    String report = Files.readString(folder.resolve("ladder.json"));
    assertEquals(3, report.split("\"used\": \"u30\"", -1).length - 1, report);
  }

  @Test
  void anotherEncoderGetsItsPicturesThroughTheHost() throws Exception {
    transcode(
        "mixed", "", "--device", "u30", "--rendition", "320x180@600k,encoder=x264", "--rendition",
        "160x90@200k,encoder=u30");
    assertWhole(folder.resolve("mixed/clip_320x180.mp4"));
    assertEquals(times(source), times(folder.resolve("mixed/clip_160x90.mp4")));
  }

  @ParameterizedTest
  @ValueSource(strings = {"u30e_encodeFrame@40+=status:22", "u30s_scale@30+=status:22", "u30d_decode2@30+=status:22"})
  void aCardThatDiesCostsNoPicture(String faults) throws Exception {
    String name = faults.substring(0, faults.indexOf('@'));
    String said =
        transcode(
            name, faults, "--device", "u30", "--rendition", "320x180@600k", "--rendition", "160x90@200k");
    assertTrue(said.contains("u30"), said);
    assertWhole(folder.resolve(name + "/clip_320x180.mp4"));
    assertEquals(times(source), times(folder.resolve(name + "/clip_160x90.mp4")));
  }

  @Test
  void h263GoesIntoItsContainersInItsOwnSizes() throws Exception {
    for (String format : List.of("mp4", "mkv", "h263")) {
      run(
          "", 0, "transcode", source.toString(), "-o", folder.resolve(format).toString(), "--format", format,
          "--rendition", "352x288@500k,codec=h263,fit=stretch");
      Path file = folder.resolve(format + "/clip_352x288." + format);
      String shape =
          Clips.run(
              "ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=codec_name,codec_tag_string,nb_read_frames",
              "-of", "csv=p=0", file.toString());
      assertTrue(shape.startsWith("h263,") && shape.contains("," + FRAMES), format + ": " + shape);
      if (format.equals("mp4")) assertTrue(shape.contains("s263"), shape);
      if (format.equals("mp4")) assertEquals(times(source), times(file));
    }
    String said = run("", 2, "transcode", source.toString(), "-o", folder.toString(), "--rendition", "500x300,codec=h263");
    assertTrue(said.contains("H.263 has no size 500x300, the nearest are 352x288 and 704x576"), said);
  }

  @Test
  void reservationsRefuseWhatTheManagerCouldNotTake() throws Exception {
    NativeLibraries.loadTranscoder();
    long session = TranscoderVideoU30MXBean.createContext(0);
    assertTrue(session > 0);
    assertEquals(7, TranscoderVideoU30MXBean.execPluginFunc("echo", "7 8", session));
    assertEquals(-1, TranscoderVideoU30MXBean.execPluginFunc("echo", "7".repeat(16384), session));
    assertEquals(-1, TranscoderVideoU30MXBean.execPluginFunc("echo", "", session));
    assertEquals(-1, TranscoderVideoU30MXBean.execPluginFunc(null, "7", session));
    assertEquals(-1, TranscoderVideoU30MXBean.execPluginFunc("echo", null, session));
    assertEquals(0, TranscoderVideoU30MXBean.u30XboUsage(0));
    assertEquals(0, TranscoderVideoU30MXBean.destroyContext(session));
    assertEquals(-1, TranscoderVideoU30MXBean.destroyContext(session));
  }

  @Test
  void theInventoryTellsOfTheCards() throws Exception {
    String said = run("", 0, "inspect", "u30");
    assertTrue(said.contains("2 cards") && said.contains("room for"), said);
  }
}
