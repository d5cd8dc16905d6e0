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
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Sessions on a card of NVIDIA's, which is an emulated one. */
class NvidiaTest {
  private static final int FRAMES = 40;
  private static final String CARD_RUNG = "320x180@8000k";
  private static final String SOFTWARE_RUNG = "240x136@8000k,encoder=x264";

  @TempDir static Path folder;
  private static Path source;

  /** In a process of its own, whose calls into the driver count from one. What it printed. */
  private static String transcode(String name, String faults, String... more) throws Exception {
    List<String> arguments = new ArrayList<>(List.of("transcode", source.toString()));
    arguments.addAll(List.of("-o", folder.resolve(name).toString(), "--rendition", CARD_RUNG, "--rendition", SOFTWARE_RUNG));
    arguments.addAll(List.of("--overlay", folder.resolve("logo.png") + ",align=top-right,x=20,y=20", "--no-contact-sheet"));
    arguments.addAll(List.of("--report", report(name).toString()));
    arguments.addAll(List.of(more));
    Path said = folder.resolve(name + ".txt");
    List<String> environment = List.of("env", "QVS_FAKE_FAULTS=" + faults);
    int code = Captured.start(environment, said, arguments.toArray(new String[0])).waitFor();
    assertEquals(0, code, Files.readString(said));
    return Files.readString(said);
  }

  private static Path report(String name) {
    return folder.resolve(name + ".json");
  }

  private static List<Path> rungs(String name) {
    return List.of(folder.resolve(name + "/clip_320x180.mp4"), folder.resolve(name + "/clip_240x136.mp4"));
  }

  @BeforeAll
  static void makePlain() throws Exception {
    source = folder.resolve("clip.mp4");
    // Soft, so that the scalers, which treat fine detail in their own ways, come to the same.
    Clips.make(
        "-f lavfi -i testsrc2=size=640x360:rate=25 -frames:v " + FRAMES
            + " -vf gblur=sigma=4 -c:v libx264 -b:v 3M -bf 2 -g 25 -pix_fmt yuv420p", source);
    Clips.make("-f lavfi -i color=red@0.6:size=120x60,format=rgba -frames:v 1", folder.resolve("logo.png"));
    transcode("plain", "");
  }

  @Test
  void aLadderOnTheCardHasThePicturesOfTheSoftware() throws Exception {
    String said = transcode("card", "", "--device", "cuda", "--encoder", "nvenc");
    assertFalse(said.contains("software is"), said);
    String report = Files.readString(report("card"));
    assertTrue(report.contains("\"used\": \"nvenc\"") && report.contains("\"device\": \"cuda:0\""), report);
    for (int i = 0; i < 2; i++) {
      Path plain = rungs("plain").get(i);
      Path card = rungs("card").get(i);
      assertEquals(Clips.shownTimes(plain), Clips.shownTimes(card));
      for (double db : Clips.psnr(plain, card)) assertTrue(db > 42, card + ": " + db + " dB");
    }
  }

  /** Its encoder alone, and the card itself. */
  @ParameterizedTest
  @ValueSource(
      strings = {"nvEncEncodePicture@30+=status:20", "cuvidMapVideoFrame64@30+=status:700"})
  void aCardThatFailsCostsNoPicture(String faults) throws Exception {
    String said = transcode("failing", faults, "--device", "cuda", "--encoder", "nvenc,x264", "--overwrite");
    assertTrue(said.contains("device cuda:0 is given up"), said);
    String report = Files.readString(report("failing"));
    assertTrue(report.contains("\"used\": \"x264\"") && report.contains("\"doneWithout\""), report);
    for (int i = 0; i < 2; i++) {
      Path plain = rungs("plain").get(i);
      Path failing = rungs("failing").get(i);
      assertEquals(Clips.shownTimes(plain), Clips.shownTimes(failing), said);
      for (double db : Clips.psnr(plain, failing)) assertTrue(db > 40, failing + ": " + db + " dB");
    }
  }

  private static String inspect(String libraryPath) throws Exception {
    Path said = folder.resolve("inspect.txt");
    List<String> environment = libraryPath == null ? List.of() : List.of("env", "LD_LIBRARY_PATH=" + libraryPath);
    Captured.start(environment, said, "inspect").waitFor();
    return Files.readString(said);
  }

  @Test
  void theInventoryShowsTheCardOrSaysWhyThereIsNone() throws Exception {
    String shown = inspect(null);
    for (String field : List.of("driverVersion 525.60", "versionMajor", "totalMemory", "getCUDANVENCVersion", "Emulated GPU 0"))
      assertTrue(shown.contains(field), shown);
    String without = inspect("");
    assertTrue(
        Files.exists(Path.of("/proc/driver/nvidia")) || without.contains("NVIDIA: no NVIDIA driver: libcuda.so.1 not found"),
        without);
  }
}
