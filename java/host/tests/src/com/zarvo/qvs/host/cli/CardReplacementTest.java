package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.support.Clips;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The plug-ins of a card themselves, behind a driver that is none and that fails from picture 100 on. */
class CardReplacementTest {
  @TempDir static Path folder;
  private static Path source;

  /** In a process of its own, whose calls into the driver count from one. What it printed. */
  private static String transcode(String name, String... more) throws Exception {
    List<String> arguments = new ArrayList<>(List.of("transcode", source.toString()));
    arguments.addAll(List.of("-o", folder.resolve(name).toString()));
    arguments.addAll(List.of(more));
    Path said = folder.resolve(name + ".txt");
    int code = Captured.start(said, arguments.toArray(new String[0])).waitFor();
    assertEquals(0, code, Files.readString(said));
    return Files.readString(said);
  }

  @BeforeAll
  static void makeSource() throws Exception {
    source = Clips.testVideo(folder.resolve("clip.webm"), "320x180", "30", 120, "");
  }

  @Test
  void fragmentsOfH265GoOnBehindAnInitialisationOfTheirOwn() throws Exception {
    transcode("hls", "--format", "hls", "--rendition", "320x180@400k,codec=h265,encoder=vaapi+software");
    Path playlist = folder.resolve("hls/clip_320x180/index.m3u8");
    List<String> marks =
        Files.readAllLines(playlist).stream().filter(line -> line.matches("#EXT-X-(MAP|DISC).*|#EXTINF.*")).toList();
    assertEquals(
        List.of(
            "#EXT-X-MAP:URI=\"init_00000.mp4\"", "#EXTINF:2.000000,", "#EXTINF:1.300000,", "#EXT-X-DISCONTINUITY",
            "#EXT-X-MAP:URI=\"init_00002.mp4\"", "#EXTINF:0.700000,"),
        marks);
    assertEquals(Clips.times(source), Clips.times(playlist));
    for (double db : Clips.psnr(source, playlist)) assertTrue(db > 30, db + " dB");
  }

  @Test
  void aCardThatDiesCostsNoPicture() throws Exception {
    Path report = folder.resolve("report.json");
    transcode("plain", "--rendition", "320x180@400k", "--realtime");
    String said =
        transcode("card", "--rendition", "320x180@400k", "--encoder", "vaapi,x264", "--report", report.toString());
    assertTrue(said.contains("encoder vaapi failed at 3.300 s"), said);
    assertFalse(said.contains("a frame rate outside"), "the decoder of VP8 knows no rate: " + said);
    String json = Files.readString(report);
    assertTrue(json.contains("\"used\": \"x264\"") && json.contains("vaEndPicture"), json);
    assertFalse(json.contains("\"parameterSets\": \"profile\""), json);
    Path plain = folder.resolve("plain/clip_320x180.mp4");
    Path replaced = folder.resolve("card/clip_320x180.mp4");
    assertEquals(Clips.shownTimes(plain), Clips.shownTimes(replaced));
    assertEquals(List.of("0.000000", "2.000000", "3.300000"), Clips.keyTimes(replaced));
    List<Double> expected = Clips.psnr(source, plain);
    List<Double> found = Clips.psnr(source, replaced);
    assertEquals(120, found.size());
    for (int i = 0; i < found.size(); i++)
      assertTrue(found.get(i) > expected.get(i) - 4, "picture " + i + ": " + found.get(i) + " dB, else " + expected.get(i));
  }
}
