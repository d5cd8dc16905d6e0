package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import com.sun.net.httpserver.HttpServer;
import com.zarvo.qvs.host.support.Clips;
import java.awt.image.BufferedImage;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Still pictures of files: which ones, how they lie, and what becomes of what can't be served. */
class ThumbsTest {
  private static final Path BROWSER = Path.of("/usr/bin/chromium");
  // Each second has a grey of its own: 40, 60, 80, ...
  private static final String GREYS =
      "-f lavfi -i color=gray:size=160x90:rate=25,geq=lum='floor(40+20*floor(T))':cb=128:cr=128 -t 8 -color_range tv ";
  private static final String H264 = "-c:v libx264 -preset veryfast -g 50 -bf 2 -sc_threshold 0 ";
  // Draws the tile of each cue as a player does on hover, and tells the red of its middle.
  private static final String PAGE =
      """
      <!doctype html><video id=v><track id=t kind=metadata default src=board/storyboard.vtt></video><script>
      t.onload = async () => {
        const told = [];
        for (const at of [0.1, 2.5, 4.1, 7.9]) {
          const cue = [...t.track.cues].find(c => c.startTime <= at && at < c.endTime);
          const [name, area] = cue.text.split('#xywh=');
          const [x, y, w, h] = area.split(',').map(Number);
          const image = new Image();
          image.src = 'board/' + name;
          await image.decode();
          const canvas = document.createElement('canvas').getContext('2d');
          canvas.drawImage(image, x, y, w, h, 0, 0, w, h);
          told.push(w + 'x' + h + ':' + canvas.getImageData(w / 2, h / 2, 1, 1).data[0]);
        }
        fetch('/told?' + told.join(','));
      };
      t.track.mode = 'hidden';
      </script>
      """;

  @TempDir static Path folder;

  private static List<JsonObject> run(Path output, int code, String... arguments) throws Exception {
    List<String> all = new ArrayList<>(List.of("thumbs", "-o", output.toString(), "--overwrite", "--format", "png"));
    all.addAll(List.of(arguments));
    Captured run = Captured.run(all.toArray(new String[0]));
    assertEquals(code, run.code(), run.err());
    List<JsonObject> rows = new ArrayList<>();
    JsonParser.parseString(Files.readString(output.resolve("thumbs.json")))
        .getAsJsonObject()
        .getAsJsonArray("pictures")
        .forEach(row -> rows.add(row.getAsJsonObject()));
    return rows;
  }

  private static int greyOf(Path output, JsonObject row) throws Exception {
    BufferedImage image = ImageIO.read(output.resolve(row.get("file").getAsString()).toFile());
    return image.getRGB(image.getWidth() / 2, image.getHeight() / 2) & 0xff;
  }

  /** Narrow luma of a second, as full-range grey. */
  private static double grey(double second) {
    return (40 + 20 * Math.floor(second) - 16) * 255 / 219;
  }

  @Test
  void picturesAreThoseOfTheirTimes() throws Exception {
    for (String name : List.of("greys.mp4", "greys.ts", "greys.mkv", "greys.264", "greys.avi")) {
      String codec = name.endsWith("avi") ? "-c:v mpeg4 -g 50 -b:v 2M -sc_threshold 1000000000 " : H264;
      Path clip = Clips.make(GREYS + codec, folder.resolve(name));
      Path output = folder.resolve(name + "-thumbs");
      for (JsonObject row : run(output, 0, clip.toString(), "--every", "3")) {
        double asked = row.get("asked").getAsDouble();
        double seconds = row.get("seconds").getAsDouble();
        assertEquals(Math.floor(asked / 2) * 2, seconds, 0.09, name + ": the key picture before");
        assertEquals(grey(seconds + 0.001), greyOf(output, row), 3, name + " at " + seconds);
      }
      List<JsonObject> exact = run(output, 0, clip.toString(), "--at", "0.5,3.5,6.9", "--exact");
      assertEquals(3, exact.size(), name);
      for (JsonObject row : exact) {
        double asked = row.get("asked").getAsDouble();
        // A stream without times counts its pictures in the order of decoding.
        double near = name.endsWith("264") ? 0.15 : 0.05;
        assertEquals(asked, row.get("seconds").getAsDouble(), near, name);
        assertEquals(grey(asked), greyOf(output, row), 3, name + " exactly at " + asked);
      }
    }
  }

  @Test
  void picturesStandUprightInTheSizeAskedFor() throws Exception {
    // Red above blue once it is turned.
    String source = "-f lavfi -i color=red:size=160x90:rate=25 -vf drawbox=x=80:y=0:w=80:h=90:color=blue:t=fill -frames:v 3 ";
    Path flat = Clips.make(source + H264 + "-aspect 2:1", folder.resolve("flat.mp4"));
    Path turned = Clips.make("-i " + flat + " -c copy -metadata:s:v rotate=270", folder.resolve("turned.mp4"));
    String[][] cases = {
      {"--size", "90x", "90x180"}, {"--size", "x90", "46x90"}, {"--size", "100x100", "100x100"},
      {"--size", "60x60", "--fit", "fill", "60x60"}, {"--size", "60x10", "--fit", "stretch", "60x10"},
      {"--size", "90x7", "--fit", "width", "90x180"}, {"--size", "7x90", "--fit", "height", "46x90"}};
    for (String[] one : cases) {
      Path output = folder.resolve("upright");
      List<String> arguments = new ArrayList<>(List.of(one).subList(0, one.length - 1));
      arguments.add(turned.toString());
      JsonObject row = run(output, 0, arguments.toArray(new String[0])).get(0);
      BufferedImage image = ImageIO.read(output.resolve(row.get("file").getAsString()).toFile());
      String where = String.join(" ", one);
      assertEquals(one[one.length - 1], image.getWidth() + "x" + image.getHeight(), where);
      int above = image.getRGB(image.getWidth() / 2, image.getHeight() / 8);
      int below = image.getRGB(image.getWidth() / 2, image.getHeight() * 7 / 8);
      boolean redAbove = (above >> 16 & 0xff) > 200 && (below & 0xff) > 200;
      boolean redBelow = (below >> 16 & 0xff) > 200 && (above & 0xff) > 200;
      assertTrue(redAbove || redBelow, where + ": " + Integer.toHexString(above) + " " + Integer.toHexString(below));
      int edge = image.getRGB(1, image.getHeight() / 2) & 0xffffff;
      assertEquals(where.contains("100x100"), edge == 0, where + ": black bars");
    }
  }

  @Test
  void theBestPictureHasMostToSeeAndScenesAreFound() throws Exception {
    Path clip =
        Clips.make(
            "-f lavfi -i color=black:size=160x90:rate=25:d=2 -f lavfi -i testsrc=size=160x90:rate=25:d=4"
                + " -f lavfi -i color=green:size=160x90:rate=25:d=2 -filter_complex [0][1][2]concat=n=3 -g 25 "
                + H264.replace("-g 50", ""),
            folder.resolve("scenes.mp4"));
    List<JsonObject> best = run(folder.resolve("best"), 0, clip.toString(), "--every", "8", "--best");
    double seconds = best.get(0).get("seconds").getAsDouble();
    assertTrue(seconds >= 2 && seconds < 6, "best at " + seconds);
    List<JsonObject> scenes = run(folder.resolve("scenes"), 0, clip.toString(), "--scenes");
    assertEquals(List.of(0.0, 2.0, 6.0), scenes.stream().map(row -> row.get("seconds").getAsDouble()).toList());
  }

  @Test
  void whatCannotBeServedIsTold() throws Exception {
    Path clip = Clips.make(GREYS + H264, folder.resolve("whole.mp4"));
    Path output = folder.resolve("lost");
    assertEquals(1, run(output, 1, clip.toString(), "--at", "1,99").size());
    assertTrue(Files.readString(output.resolve("thumbs.json")).contains("ends before 99.000 s"));
    Path sound = Clips.make("-f lavfi -i sine=d=1", folder.resolve("sound.wav"));
    Path vp9 = Clips.testVideo(folder.resolve("other.webm"), "64x48", "25", 3, "");
    Path junk = Files.write(folder.resolve("junk.mp4"), new byte[5000]);
    String[][] refused = {
      {"thumbs", sound.toString(), "-o", "x"}, {"thumbs", vp9.toString(), "-o", "x"},
      {"thumbs", junk.toString(), "-o", "x"}, {"thumbs", folder.resolve("none").toString(), "-o", "x"},
      {"thumbs", clip.toString(), "-o", output.toString()},
      {"thumbs", clip.toString(), "-o", "x", "--size", "0x0"}, {"thumbs", clip.toString(), "-o", "x", "--every", "-1"},
      {"thumbs", clip.toString(), "-o", "x", "--count", "0"}, {"thumbs", clip.toString(), "-o", "x", "--at", "NaN"},
      {"thumbs", clip.toString(), "-o", "x", "--scenes", "--exact"},
      {"thumbs", clip.toString(), "-o", "x", "--every", "1", "--count", "2"}};
    for (String[] arguments : refused) {
      Captured run = Captured.run(arguments);
      assertTrue(run.code() != 0, String.join(" ", arguments));
      assertEquals(1, run.err().lines().count(), run.err());
      assertTrue(!Files.exists(Path.of("x")), String.join(" ", arguments));
    }
  }

  @Test
  void aBrowserShowsTheTilesOfAStoryboard() throws Exception {
    assumeTrue(Files.isExecutable(BROWSER), "chromium is installed");
    Path clip = Clips.make(GREYS + H264, folder.resolve("board.mp4"));
    assertEquals(
        0,
        Captured.run("thumbs", clip.toString(), "-o", folder.resolve("board").toString(), "--storyboard", "--every", "2")
            .code());
    Files.writeString(folder.resolve("page.html"), PAGE);
    CompletableFuture<String> told = new CompletableFuture<>();
    HttpServer server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), 0), 0);
    server.createContext(
        "/",
        exchange -> {
          Path file = folder.resolve(exchange.getRequestURI().getPath().substring(1));
          if (exchange.getRequestURI().getPath().equals("/told")) told.complete(exchange.getRequestURI().getQuery());
          if (file.toString().endsWith("vtt")) exchange.getResponseHeaders().add("Content-Type", "text/vtt");
          byte[] body = Files.isRegularFile(file) ? Files.readAllBytes(file) : new byte[0];
          exchange.sendResponseHeaders(body.length > 0 ? 200 : 404, body.length == 0 ? -1 : body.length);
          exchange.getResponseBody().write(body);
          exchange.close();
        });
    server.start();
    Process browser =
        new ProcessBuilder(
                BROWSER.toString(), "--headless=new", "--no-sandbox", "--disable-gpu",
                "--user-data-dir=" + folder.resolve("profile"),
                "http://127.0.0.1:" + server.getAddress().getPort() + "/page.html")
            .redirectErrorStream(true)
            .redirectOutput(folder.resolve("browser.txt").toFile())
            .start();
    try {
      String[] tiles = told.get(60, TimeUnit.SECONDS).split(",");
      double[] times = {0, 2, 4, 6};
      for (int i = 0; i < times.length; i++) {
        String[] tile = tiles[i].split(":");
        assertEquals("160x90", tile[0]);
        assertEquals(grey(times[i]), Integer.parseInt(tile[1]), 3, "tile " + i);
      }
    } finally {
      browser.destroy();
      assertTrue(browser.waitFor(30, TimeUnit.SECONDS), "the browser ends");
      server.stop(0);
    }
  }
}
