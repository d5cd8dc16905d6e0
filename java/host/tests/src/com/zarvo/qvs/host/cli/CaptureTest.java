package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.google.gson.JsonArray;
import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.transcoder.capture.TranscoderCaptureDeviceStateInfo;
import com.zarvo.qvs.transcoder.model.TranscoderNativeIntArray;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;

/** Ladders out of capture devices that are directories. */
@Timeout(120)
class CaptureTest {
  private static final int STEP = 20;
  private static final int STEPS = 10;
  private static final int BLACK = 16;

  @TempDir static Path folder;

  /** A capture directory whose pictures tell their number by their luma, with a tone. */
  private static Path device(String name) throws Exception {
    Path clip =
        Clips.make(
            "-f lavfi -i color=gray:size=64x48:rate=25,geq=lum='" + 2 * STEP + "+" + STEP + "*mod(N," + STEPS
                + ")':cb=128:cr=128 -f lavfi -i sine=frequency=440:sample_rate=48000 -t 8 -c:v ffv1 -c:a pcm_s16le",
            folder.resolve(name + ".mkv"));
    Path directory = folder.resolve(name);
    Captured made = Captured.run("capture", "make", clip.toString(), directory.toString());
    assertEquals(0, made.code(), made.err());
    return directory;
  }

  private static int[] lumas(Path file) throws Exception {
    Path raw = Clips.make("-i " + file + " -vf scale=1:1,format=gray -fps_mode passthrough -f rawvideo", folder.resolve("luma.raw"));
    byte[] bytes = Files.readAllBytes(raw);
    int[] lumas = new int[bytes.length];
    for (int i = 0; i < lumas.length; i++) lumas[i] = (int) Math.round(BLACK + (bytes[i] & 0xff) * 219 / 255.0);
    return lumas;
  }

  private static boolean follows(int luma, int next) {
    int step = Math.floorMod(Math.round((next - luma) / (float) STEP), STEPS);
    return step == 1;
  }

  private static int[] ids() {
    TranscoderNativeIntArray ids = new TranscoderNativeIntArray();
    TranscoderSessionNative.captureManagerGetDeviceIds(ids);
    return ids.value == null ? new int[0] : ids.value;
  }

  private static void stop(int device) {
    TranscoderCaptureDeviceStateInfo stop = new TranscoderCaptureDeviceStateInfo();
    TranscoderSessionNative.captureDeviceSetActiveState(device, stop);
  }

  private static List<Long> milliseconds(List<String> seconds) {
    return seconds.stream().map(s -> Math.round(Double.parseDouble(s) * 1000)).toList();
  }

  @Test
  void aDeviceThatFallsSilentAndComesBackIsBridged() throws Exception {
    Path device = device("numbers");
    NativeLibraries.loadTranscoder();
    TranscoderSessionNative.captureManagerInit();
    int id = ids().length;
    Path out = folder.resolve("bridged");
    Path report = folder.resolve("bridged.json");
    Path progress = folder.resolve("bridged.progress");
    CompletableFuture<Void> cut =
        CompletableFuture.runAsync(
            () -> {
              try {
                for (int i = 0; i < 400 && !(Files.exists(progress) && Files.size(progress) > 0); i++) Thread.sleep(20);
                Thread.sleep(1000);
                stop(id);
              } catch (IOException | InterruptedException e) {
                throw new IllegalStateException(e);
              }
            });
    Captured run =
        Captured.run(
            "capture", device.toString(), "-o", out.toString(), "--format", "mp4", "--duration", "6", "--report",
            report.toString(), "--progress", progress.toString(), "--rendition", "64x48@200k,preset=ultrafast",
            "--rendition", "48x36@100k,preset=ultrafast");
    cut.join();
    assertEquals(0, run.code(), run.err());
    JsonObject told = JsonParser.parseString(Files.readString(report)).getAsJsonObject().getAsJsonObject("capture");
    JsonArray events = told.getAsJsonArray("events");
    assertEquals(2, events.size(), events.toString());
    assertEquals("signal lost", events.get(0).getAsJsonObject().get("event").getAsString());
    assertEquals("signal back", events.get(1).getAsJsonObject().get("event").getAsString());
    assertTrue(run.err().contains("signal lost at ") && run.err().contains("signal back at "), run.err());
    long lost = Math.round(1000 * events.get(0).getAsJsonObject().get("seconds").getAsDouble());
    long back = Math.round(1000 * events.get(1).getAsJsonObject().get("seconds").getAsDouble());
    Path whole = out.resolve("numbers_64x48.mp4");
    List<Long> times = milliseconds(Clips.times(whole));
    int[] lumas = lumas(whole);
    assertEquals(times.size(), lumas.length);
    for (int i = 1; i < lumas.length; i++) {
      long step = times.get(i) - times.get(i - 1);
      boolean bridge = times.get(i) >= lost && times.get(i) <= back + 1500;
      assertTrue(step > 0 && step < (bridge ? 1500 : 80), "from " + times.get(i - 1) + " to " + times.get(i));
      if (!bridge) assertTrue(follows(lumas[i - 1], lumas[i]), "picture " + i + " at " + times.get(i));
    }
    assertTrue(count(lumas, BLACK) >= told.get("slatePictures").getAsInt() - 1, "black meanwhile");
    assertTrue(told.get("slatePictures").getAsInt() > 10, told.toString());
    int first = 0;
    while (times.get(first) < back || lumas[first] < BLACK + STEP / 2) first++;
    for (String size : List.of("64x48", "48x36"))
      assertTrue(
          milliseconds(Clips.keyTimes(out.resolve("numbers_" + size + ".mp4"))).contains(times.get(first)),
          size + " has a key picture at " + times.get(first));
    double heard =
        Double.parseDouble(
            Clips.run(
                    "ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries", "stream=duration", "-of",
                    "csv=p=0", whole.toString())
                .strip());
    assertEquals(times.get(times.size() - 1) / 1000.0, heard, 0.3, "sound lasts as long");
    assertTrue(told.get("silentSeconds").getAsDouble() > 0.5, told.toString());
    assertTrue(Files.readString(progress).contains("\"peaksDb\": [-"), "levels are told");
  }

  private static long count(int[] lumas, int wanted) {
    long count = 0;
    for (int luma : lumas) if (Math.abs(luma - wanted) <= 4) count++;
    return count;
  }

  @Test
  void aFolderOfDevicesIsListedShownAndPlayedAsHls() throws Exception {
    Path root = folder.resolve("root");
    Files.createDirectories(root.resolve("capture"));
    Path red = Clips.make("-f lavfi -i color=red:size=320x180:rate=30 -t 2 -c:v ffv1", folder.resolve("red.mkv"));
    Path device = root.resolve("capture/capture0");
    assertEquals(0, Captured.run("capture", "make", red.toString(), device.toString(), "--duration", "1").code());
    assertEquals(30 * 320 * 180 * 3 / 2, Files.size(device.resolve("video.yuv")));
    Captured again = Captured.run("capture", "make", red.toString(), device.toString());
    assertTrue(again.code() == 1 && again.err().contains("--overwrite"), again.err());
    Path bad = Files.createDirectories(root.resolve("capture/capture1"));
    Files.writeString(bad.resolve("info.properties"), "video.file.path: ../../../etc/passwd\nvideo.frameWidth: -5\n");
    Captured list = Captured.run("capture", "list", "--devices", root.toString());
    assertTrue(list.out().contains("file::capture0") && !list.out().contains("capture1"), list.out());
    assertTrue(list.err().contains("etc/passwd"), "what cannot be used is told: " + list.err());
    Path shot = folder.resolve("shot.png");
    Captured shown = Captured.run("capture", "shot", "file::capture0", "--devices", root.toString(), "-o", shot.toString());
    assertEquals(0, shown.code(), shown.err());
    int rgb = ImageIO.read(shot.toFile()).getRGB(100, 100);
    assertTrue((rgb >> 16 & 0xff) > 200 && (rgb >> 8 & 0xff) < 60 && (rgb & 0xff) < 60, Integer.toHexString(rgb));
    Path out = folder.resolve("hls");
    Captured run =
        Captured.run(
            "capture", "file::capture0", "--devices", root.toString(), "-o", out.toString(), "--duration", "2",
            "--keyframes", "1", "--rendition", "160x90@100k,preset=ultrafast", "--no-contact-sheet");
    assertEquals(0, run.code(), run.err());
    assertEquals(List.of("file-capture0.m3u8", "file-capture0_160x90"), Clips.namesIn(out));
    assertEquals(60, Clips.times(out.resolve("file-capture0.m3u8")).size());
  }

  @Test
  void whatIsNoDeviceIsRefusedInALine() throws Exception {
    Path text = Files.writeString(folder.resolve("text.txt"), "no media");
    Path empty = Files.createDirectories(folder.resolve("empty"));
    List<String[]> wrong = new ArrayList<>();
    wrong.add(new String[] {"capture", "nothing", "-o", "x", "--devices", empty.toString()});
    wrong.add(new String[] {"capture", empty.toString(), "-o", "x"});
    wrong.add(new String[] {"capture", "nothing", "-o", "x", "--slate", empty.toString()});
    wrong.add(new String[] {"capture", "-o", "x"});
    wrong.add(new String[] {"capture", "nothing"});
    wrong.add(new String[] {"capture", "nothing", "-o", "x", "--duration", "-1"});
    wrong.add(new String[] {"capture", "shot", "nothing", "-o", "x.png", "--devices", empty.toString()});
    wrong.add(new String[] {"capture", "make", text.toString(), folder.resolve("made").toString()});
    for (String[] arguments : wrong) {
      Captured run = Captured.run(arguments);
      assertTrue(run.code() != 0 && run.err().lines().count() == 1, String.join(" ", arguments) + ": " + run.err());
      assertTrue(run.err().startsWith("qvs: ") && !run.err().contains("internal"), run.err());
    }
    assertFalse(Files.exists(Path.of("x")));
    assertFalse(Files.exists(folder.resolve("made/info.properties")));
  }
}
