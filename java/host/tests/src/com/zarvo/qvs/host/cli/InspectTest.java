package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.model.NativeLibraries;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** Inventories of folders with plug-ins that work, refuse, crash or hang: copies of one that does what its path says. */
class InspectTest {
  private static final String PROPERTY = NativeLibraries.DIRECTORY_PROPERTY;
  private static final Path BUILT = Path.of(System.getProperty(PROPERTY));
  private static final String NO_CARDS =
      "{\"infoCUDA\":{\"available\":false},\"infoQuickSync\":{\"available\":false},\"infoVAAPI\":{\"available\":false},"
          + "\"infoXilinxU30\":{\"available\":false},\"infoX264\":{\"available\":false},\"infoX265\":{\"available\":false},"
          + "\"infoAdvantechVega\":{\"available\":false},\"infoIntrinsicScaler\":{\"available\":false}}\n";

  @TempDir Path root;
  private Path folder;

  /** A machine of its own: the transcoder and the probe, no plug-in. */
  @BeforeEach
  void makeFolder() throws IOException {
    folder = Files.createDirectory(root.resolve("lib"));
    Files.createSymbolicLink(root.resolve("bin"), BUILT.resolveSibling("bin"));
    for (String name : List.of("qvs-transcoder", "qvs-host-media"))
      Files.createSymbolicLink(folder.resolve("lib" + name + ".so"), BUILT.resolve("lib" + name + ".so"));
  }

  private void plugin(String library) throws IOException {
    Files.copy(Path.of(System.getProperty("qvs.test.plugin")), folder.resolve(library));
  }

  private static Captured inspect(Path libraries, String... arguments) {
    String before = System.setProperty(PROPERTY, libraries.toString());
    try {
      return Captured.run(arguments);
    } finally {
      System.setProperty(PROPERTY, before);
    }
  }

  private static void assertLine(Captured run, String library, String... words) {
    List<String> lines = run.outLines().stream().filter(line -> line.contains(library)).toList();
    assertEquals(1, lines.size(), library + run.out() + run.err());
    for (String word : words) assertTrue(lines.get(0).contains(word), word + " in " + lines.get(0));
  }

  @Test
  void aBareMachine() {
    Captured table = inspect(folder, "inspect");
    assertEquals(0, table.code(), table.err());
    assertLine(table, "H.264, VP8, VP9", "software", "encoder", "built in");
    assertLine(table, "libqvs-vencoder-vp9-vaapi.so", "vaapi", "VP9", "missing: library not found in " + folder);
    assertEquals(new Captured(0, NO_CARDS, ""), inspect(folder, "inspect", "--json"));
    assertEquals(1, inspect(folder, "inspect", "vaapi").code());
    assertEquals(0, inspect(folder, "inspect", "software").code(), "some of it is there");
  }

  @Test
  void pluginsOfAllKinds() throws IOException {
    plugin("libqvs-vencoder-h264-x264.so");
    plugin("libqvs-vencoder-refuses-to-open.so");
    plugin("libqvs-vencoder-no-card.so");
    Captured sound = inspect(folder, "inspect");
    assertEquals(0, sound.code(), "what lacks a card is no fault: " + sound.err());
    assertLine(sound, "libqvs-vencoder-h264-x264.so", "3.7", "640x480", " available");
    assertLine(sound, "libqvs-vencoder-no-card.so", "unavailable: no \"render\" node", "card0] failed.");

    plugin("libqvs-vencoder-aborts-on-load.so");
    plugin("libqvs-vencoder-hangs-in-version.so");
    Files.writeString(folder.resolve("libqvs-vdecoder-text.so"), "no library ".repeat(20));
    Captured run = inspect(folder, "inspect", "--probe", "--deadline", "3");
    assertEquals(1, run.code());
    assertLine(run, "libqvs-vencoder-h264-x264.so", "available, 10 frames, 1000 bytes in ");
    assertLine(run, "refuses-to-open.so", "available, but initialize failed: the card has no context left");
    assertLine(run, "aborts-on-load.so", "crashed while loading (Aborted): the driver is out of its mind");
    assertLine(run, "hangs-in-version.so", "hung in getVersion (over 3000 ms)");
    assertLine(run, "libqvs-vdecoder-text.so", "decoder", "broken: is no library");
  }

  @Test
  void oneByItsName() throws IOException {
    plugin("libqvs-vencoder-h264-x264.so");
    Captured run = inspect(folder, "inspect", "x264");
    assertEquals(0, run.code(), run.err());
    assertLine(run, "how fast", "7", "speed", "long", "0 to 9", "3");
    assertLine(run, "library ", folder.resolve("libqvs-vencoder-h264-x264.so").toString());
    Captured shipped = Captured.run("inspect", "x265", "--probe", "--deadline", "60");
    assertEquals(0, shipped.code(), shipped.out() + shipped.err());
    assertLine(shipped, "x265: encoder", "available, 10 frames");
    assertLine(shipped, "80000", "preset", "long");
  }

  @ParameterizedTest
  @ValueSource(strings = {"aborts-on-load", "hangs-in-version"})
  void theDocumentOfAMachineWithABadDriver(String trouble) throws IOException {
    folder = Files.createDirectories(root.resolve(trouble)).resolve("lib");
    root = folder.getParent();
    makeFolder();
    plugin("libqvs-vencoder-h264-x264.so");
    assertEquals(new Captured(0, NO_CARDS, ""), inspect(folder, "inspect", "--json"));
  }

  /** What a driver that fails by script does to the inventory. The driver is a fake: no card has been asked. */
  @ParameterizedTest
  @CsvSource(
      delimiter = '|',
      value = {
        "                           | 60  | available, 10 frames",
        "vaCreateContext@1=status:2 | 60  | but initialize failed: vaCreateContext: resource allocation failed",
        "vaInitialize@1=crash       | 60  | crashed in getVersion (",
        "vaEndPicture@1=hang        | 1.5 | hung in addFrame2 (over 1500 ms)"
      })
  void aCardByScript(String faults, String deadline, String state) throws Exception {
    String fakes = System.getProperty("qvs.test.fakes");
    List<String> environment =
        List.of(
            "env", "LD_PRELOAD=" + fakes + "/fake-drm-shim.so", "LIBVA_DRIVERS_PATH=" + fakes, "LIBVA_DRIVER_NAME=fake",
            "QVS_FAKE_FAULTS=" + (faults == null ? "" : faults));
    Path said = root.resolve("said");
    Process process = Captured.start(environment, said, "inspect", "vaapi", "--probe", "--deadline", deadline);
    assertEquals(faults == null ? 0 : 1, process.waitFor());
    List<String> states = Files.readAllLines(said).stream().filter(line -> line.startsWith("vaapi: encoder, ")).toList();
    assertEquals(3, states.size(), "H.264, H.265, VP9");
    for (String line : states) assertTrue(line.contains(state), line);
  }

  @Test
  void callsThatMakeNoSense() {
    for (String[] wrong : new String[][] {{"nothing"}, {"--json", "--probe"}, {"--json", "x264"}, {"--deadline", "0"}}) {
      String[] arguments = new String[wrong.length + 1];
      arguments[0] = "inspect";
      System.arraycopy(wrong, 0, arguments, 1, wrong.length);
      Captured run = inspect(folder, arguments);
      assertEquals(2, run.code(), run.err());
      assertEquals(1, run.err().lines().count(), run.err());
    }
    Captured nowhere = inspect(root.resolve("nowhere/lib"), "inspect");
    assertEquals(1, nowhere.code());
    assertTrue(nowhere.err().contains("nowhere/bin/qvs-plugin-probe is not there"), nowhere.err());
  }
}
