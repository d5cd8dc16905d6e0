package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.EncoderCards;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.EncoderFault;
import com.zarvo.qvs.host.session.EncoderPolicy;
import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.support.Clips;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Encoders by list and their replacement, with a plug-in that fails as a script says in the place of a card's. */
class ReplacementTest {
  private static final Path SCRIPT = Path.of(System.getenv("QVS_FAULTY_ENCODER"));
  private static final String RENDITION = "320x180@400k";
  private static final int FRAMES = 75;
  private static final long DEADLINE_MS = 400;

  @TempDir static Path folder;
  private static Path source;
  private static SessionCounters counters;
  private static List<String> plainTimes;
  private static List<Double> plainPsnr;

  @BeforeAll
  static void makeSource() throws Exception {
    source = Clips.testVideo(folder.resolve("clip.ivf"), "320x180", "30000/1001", FRAMES, "");
    Files.writeString(SCRIPT, "");
    JobResult plain = run("plain", "software", RENDITION, Container.MP4, new EncoderCards());
    plainTimes = Clips.shownTimes(plain.renditions().get(0).file());
    plainPsnr = Clips.psnr(source, plain.renditions().get(0).file());
    assertEquals(FRAMES, plainTimes.size());
  }

  private static JobResult run(String name, String encoders, String rendition, Container format, EncoderCards cards)
      throws Exception {
    EncoderPolicy policy = EncoderPolicy.of(EncoderList.parse(encoders)).deadlineMs(DEADLINE_MS).cards(cards).build();
    JobSettings settings =
        JobSettings.of(source, folder.resolve(name)).realTime(true)
            .renditions(List.of(RenditionSpec.parse(rendition)))
            .format(format)
            .keyFrameSeconds(1)
            .overwrite(Overwrite.ALWAYS)
            .encoderPolicy(policy)
            .build();
    return new TranscodeJob(settings, Console::progress, new Interruption()).watchedBy(session -> counters = session).run();
  }

  private static EncoderEvent replacement(JobResult result) {
    List<EncoderEvent> applied =
        result.encoderEvents().stream().filter(event -> event.kind() == EncoderEvent.Kind.APPLIED).toList();
    assertEquals(1, applied.size(), applied.toString());
    return applied.get(0);
  }

  /** `again` is how many pictures the successor gets once more: those that are held back, and the failed one. */
  @ParameterizedTest
  @CsvSource({
    "error=40, ERROR, 1", "hang=40, HANG, 1", "late=40, HANG, 1", "error=40 delay=4, ERROR, 5",
    "swallow=40, STALL, 15", "error=41 bframes=2, ERROR, 3", "error=75 delay=4, ERROR, 5", "error=2, ERROR, 1"
  })
  void aFailureCostsNoPicture(String script, EncoderFault fault, int again) throws Exception {
    Files.writeString(SCRIPT, script);
    long startNs = System.nanoTime();
    JobResult result = run("seam", "vaapi+software", RENDITION, Container.MP4, new EncoderCards());
    double tookMs = (System.nanoTime() - startNs) / 1e6;
    Path file = result.renditions().get(0).file();
    assertEquals(plainTimes, Clips.shownTimes(file), "each picture once, at its time");
    List<Double> found = Clips.psnr(source, file);
    for (int i = 0; i < FRAMES; i++)
      assertTrue(found.get(i) > plainPsnr.get(i) - 3, "picture " + i + ": " + found.get(i) + " dB, else " + plainPsnr.get(i));
    EncoderEvent event = replacement(result);
    assertEquals(fault, event.fault(), event.why());
    RungCounters rung = counters.rungs().get(0);
    assertEquals(List.of(1L, (long) FRAMES, 0L), List.of(rung.replacements(), rung.pictures(), rung.queueDepth()));
    assertTrue(Math.abs(event.picturesAgain() - again) <= 1, event.toString());
    assertTrue(event.change() != ParameterSetChange.PROFILE, event.toString());
    List<String> keys = Clips.keyTimes(file);
    for (int grid = 0; grid < 3; grid++) assertTrue(keys.contains(plainTimes.get(grid * 30)), "key grid: " + keys);
    assertTrue(keys.size() <= 4, keys.toString());
    if (fault == EncoderFault.HANG) {
      assertTrue(event.gapMs() >= DEADLINE_MS && tookMs < 20 * DEADLINE_MS, event + ", " + tookMs + " ms");
      assertTrue(event.why().contains("did not return within 400 ms"), event.why());
    } else if (fault == EncoderFault.ERROR) {
      assertTrue(event.why().contains("told to fail"), event.why());
    }
  }

  @Test
  void anotherProfileIsADiscontinuityOfThePlaylist() throws Exception {
    Files.writeString(SCRIPT, "error=40 baseline");
    String other = RENDITION + ",profile=high";
    JobResult result = run("hls", "vaapi+software", other, Container.HLS, new EncoderCards());
    assertEquals(ParameterSetChange.PROFILE, replacement(result).change());
    List<String> lines = Files.readAllLines(result.renditions().get(0).file());
    int seam = lines.indexOf("#EXT-X-DISCONTINUITY");
    assertTrue(seam > 0, lines.toString());
    List<String> lengths = lines.stream().filter(line -> line.startsWith("#EXTINF")).toList();
    assertEquals(List.of("#EXTINF:1.001000,", "#EXTINF:0.300300,", "#EXTINF:0.700700,", "#EXTINF:0.500500,"), lengths);
    Path segment = result.renditions().get(0).file().resolveSibling(lines.get(seam + 2));
    // The segment behind it begins with the first picture of the successor, the 40th of the stream.
    double offset = Double.parseDouble(Clips.times(result.renditions().get(0).file()).get(0));
    assertEquals(
        Double.parseDouble(plainTimes.get(39)), Double.parseDouble(Clips.times(segment).get(0)) - offset, 0.002);
    Files.writeString(SCRIPT, "error=40 baseline");
    JobResult kept = run("kept", "vaapi+software", RENDITION, Container.HLS, new EncoderCards());
    assertTrue(replacement(kept).change() != ParameterSetChange.PROFILE, "profile and level are kept where they may be");
    assertFalse(Files.readString(kept.renditions().get(0).file()).contains("DISCONTINUITY"));
  }

  private static Captured commandLine(String encoders, String name, String... more) {
    List<String> arguments = new ArrayList<>(List.of("transcode", source.toString(), "-o"));
    arguments.addAll(List.of(folder.resolve(name).toString(), "--rendition", RENDITION, "--overwrite"));
    arguments.addAll(List.of("--encoder", encoders, "--report", folder.resolve(name + ".json").toString()));
    arguments.addAll(List.of(more));
    return Captured.run(arguments.toArray(new String[0]));
  }

  @Test
  void theCommandLineTellsWhatBecameOfTheEncoders() throws Exception {
    Files.writeString(SCRIPT, "refuse");
    Captured alone = commandLine("vaapi", "alone");
    assertEquals(1, alone.code(), alone.err());
    assertTrue(alone.err().contains("no encoder for h264 320x180 of vaapi") && alone.err().contains("told to refuse"), alone.err());
    assertTrue(Clips.namesIn(folder.resolve("alone")).isEmpty(), "nothing stays");
    assertTrue(Files.readString(folder.resolve("alone.json")).contains("told to refuse"));
    Captured absent = commandLine("quicksync,software", "absent");
    assertEquals(0, absent.code(), absent.err());
    assertTrue(absent.err().contains("encoder quicksync is not taken, not available"), absent.err());
    assertTrue(Files.readString(folder.resolve("absent.json")).contains("\"used\": \"software\""));
    Files.writeString(SCRIPT, "error=10");
    Captured last = commandLine("vaapi", "last");
    assertEquals(1, last.code(), last.err());
    assertTrue(last.err().contains("of vaapi; vaapi failed:") && last.err().contains("told to fail"), last.err());
    for (int i = 0; i < 2; i++) {
      Captured run = commandLine("vaapi,x264", "replaced");
      assertEquals(0, run.code(), run.err());
      assertTrue(run.err().contains("encoder x264 goes on at 0.300 s in place of vaapi"), run.err());
      String json = Files.readString(folder.resolve("replaced.json"));
      assertTrue(json.contains("\"to\": \"x264\"") && json.contains("told to fail"), json);
    }
    // Three failures, the refusal aside: the card is left alone from here on.
    Captured spared = commandLine("vaapi,software", "quarantined");
    assertEquals(0, spared.code(), spared.err());
    assertTrue(spared.err().contains("encoder vaapi is not taken, quarantined: it failed 3 times"), spared.err());
    String json = Files.readString(folder.resolve("quarantined.json"));
    assertTrue(json.contains("\"quarantined\": true") && json.contains("\"used\": \"software\""), json);
  }

  @Test
  void listsThatCannotBeAreErrors() {
    for (String list : List.of("", "vaapi,", "vapi", "vaapi,vaapi"))
      assertThrows(IllegalArgumentException.class, () -> EncoderList.parse(list), list);
    assertThrows(
        HostException.class, () -> run("none", "x265", RENDITION, Container.MP4, new EncoderCards()), "x265 makes no H.264");
  }
}
