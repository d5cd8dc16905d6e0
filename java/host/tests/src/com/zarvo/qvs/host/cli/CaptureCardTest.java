package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.google.gson.JsonElement;
import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.support.Clips;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;

/**
 * A card that isn't there, by a script that the build gives: 25 pictures a second with captions, a splice message, a loss
 * of signal and another format.
 */
@Timeout(120)
class CaptureCardTest {
  @TempDir static Path folder;

  private static String subtitles(Path playlist) throws Exception {
    return Clips.run(
        "ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i", "movie=" + playlist + "[out0+subcc]", "-map", "0:s", "-f",
        "srt", "-");
  }

  @Test
  void captionsCuesAndTroubleOfACardArriveInAllRenditions() throws Exception {
    Path out = folder.resolve("out");
    Path report = folder.resolve("report.json");
    Captured run =
        Captured.run(
            "capture", "Fake SDI (1)", "-o", out.toString(), "--duration", "9", "--hls-window", "20", "--report",
            report.toString(), "--no-contact-sheet", "--rendition", "160x128@300k,preset=ultrafast", "--rendition",
            "128x96@100k,preset=ultrafast,codec=h265,fps=12.5");
    assertEquals(0, run.code(), run.err());
    JsonObject told = JsonParser.parseString(Files.readString(report)).getAsJsonObject().getAsJsonObject("capture");
    boolean keptUp = told.get("droppedPictures").getAsInt() == 0 && told.get("deviceDroppedPictures").getAsInt() == 0;
    List<String> events = new ArrayList<>();
    for (JsonElement event : told.getAsJsonArray("events")) events.add(event.getAsJsonObject().get("event").getAsString());
    events.removeIf(event -> event.equals("pictures dropped"));
    List<String> script = List.of("cue", "signal lost", "signal back", "format changed");
    // Drops are told, so what misses without one is a fault.
    assumeTrue(keptUp || events.equals(script), "the machine is too busy for a card in real time: " + run.err());
    assertEquals(script, events, run.err());
    assertEquals(25, told.get("slatePictures").getAsInt(), 12, "of a second");
    for (String size : List.of("160x128", "128x96")) {
      Path playlist = out.resolve("Fake-SDI-1_" + size).resolve(Container.PLAYLIST);
      String text = Files.readString(playlist);
      assertEquals(1, text.split("#EXT-X-CUE-OUT:30.000\n", -1).length - 1, text);
      assertTrue(text.contains("SCTE35-OUT=0xFC30") && text.contains("#EXT-X-CUE-OUT-CONT:"), text);
      if (!keptUp) continue;
      assertTrue(subtitles(playlist).contains("HELLO WORLD"), size + ": " + subtitles(playlist));
      List<Double> times = Clips.times(playlist).stream().map(Double::parseDouble).sorted().toList();
      for (int i = 1; i < times.size(); i++)
        assertTrue(times.get(i) - times.get(i - 1) < 0.3, size + " has a gap behind " + times.get(i - 1));
    }
  }
}
