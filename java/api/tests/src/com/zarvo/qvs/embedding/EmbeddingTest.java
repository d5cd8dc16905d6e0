package com.zarvo.qvs.embedding;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.api.Codec;
import com.zarvo.qvs.api.CodedPacket;
import com.zarvo.qvs.api.Ladder;
import com.zarvo.qvs.api.MediaFiles;
import com.zarvo.qvs.api.MediaSource;
import com.zarvo.qvs.api.Overlay;
import com.zarvo.qvs.api.Rung;
import com.zarvo.qvs.api.SourceFormat;
import com.zarvo.qvs.api.SourcePacket;
import com.zarvo.qvs.host.support.Clips;
import java.awt.Color;
import java.awt.Graphics2D;
import java.awt.image.BufferedImage;
import java.io.BufferedReader;
import java.io.IOException;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** What a program gets that has the jar and nothing else. */
class EmbeddingTest {
  private static final Path JAR = Path.of(System.getProperty("qvs.test.jar"));
  private static final Path SOURCES = Path.of(System.getProperty("qvs.test.sources"));
  private static final int WIDTH = 320;
  private static final int HEIGHT = 180;
  private static final int PICTURES = 50;

  @TempDir static Path folder;
  private static Path clip;

  @BeforeAll
  static void makeClip() throws Exception {
    String input = "-f lavfi -i color=black:size=320x180:rate=25 -f lavfi -i sine -t 2 -c:v libx264 -g 25 -bf 0 -c:a aac";
    clip = Clips.make(input, folder.resolve("clip.mp4"));
  }

  private static ProcessBuilder java(Path place, String... arguments) {
    List<String> command = new ArrayList<>();
    command.addAll(List.of(Path.of(System.getProperty("java.home"), "bin", "java").toString(), "-Xcheck:jni"));
    command.add("-Dqvs.cache.dir=" + folder.resolve("cache"));
    command.addAll(List.of("-cp", JAR.toString()));
    command.addAll(List.of(arguments));
    return new ProcessBuilder(command).directory(place.toFile()).redirectErrorStream(true);
  }

  /** All three find an empty cache and begin at once: one of them unpacks. */
  @Test
  void theReadmesLinesMakeALadderInThreeMachinesAtOnce() throws Exception {
    String readme = Files.readString(SOURCES.resolve("README.md"));
    int start = readme.indexOf("```java\n") + 8;
    String code = readme.substring(start, readme.indexOf("```", start));
    assertEquals(20, code.lines().count());
    List<Process> machines = new ArrayList<>();
    for (int i = 0; i < 3; i++) {
      Path place = Files.createDirectory(folder.resolve("pasted" + i));
      Files.writeString(place.resolve("Embedded.java"), code);
      ProcessBuilder machine = java(place, "Embedded.java", clip.toString());
      machines.add(machine.redirectOutput(place.resolve("said").toFile()).start());
    }
    for (int i = 0; i < 3; i++) {
      Path place = folder.resolve("pasted" + i);
      assertEquals(0, machines.get(i).waitFor(), () -> textOf(place.resolve("said")));
      String master = Files.readString(place.resolve("out/clip.m3u8"));
      assertTrue(master.contains("RESOLUTION=1280x720") && master.contains("mp4a"), master);
      assertEquals(PICTURES, Clips.times(place.resolve("out/clip_640x360/index.m3u8")).size());
    }
    try (Stream<Path> unpacked = Files.list(folder.resolve("cache"))) {
      assertEquals(1, unpacked.filter(Files::isDirectory).count());
    }
  }

  private static String textOf(Path file) {
    try {
      return Files.readString(file);
    } catch (IOException e) {
      return e.toString();
    }
  }

  @Test
  void theServerTakesAFileAndAFeed() throws Exception {
    Path server = SOURCES.resolve("java/examples/HlsServer.java");
    Process process = java(folder, server.toString(), "0", folder.resolve("served").toString()).start();
    try (BufferedReader said = process.inputReader()) {
      String url = said.readLine();
      assertTrue(url.startsWith("http://localhost:"), url);
      Path feed = Clips.make("-i " + clip + " -c copy -f mpegts", folder.resolve("feed.ts"));
      assertEquals("201 /talk/talk.m3u8\n", put(url + "upload/talk", clip));
      assertTrue(get(url + "talk/talk.m3u8").startsWith("200 #EXTM3U"));
      assertEquals("201 /live/live.m3u8\n", put(url + "feed/live", feed));
      assertTrue(get(url + "live/live_640x360/index.m3u8").contains("segment_"));
      assertTrue(put(url + "upload/talk", SOURCES.resolve("README.md")).startsWith("422 "));
      assertTrue(get(url + "..%2fclip.mp4").startsWith("404"));
    } finally {
      process.destroy();
      assertTrue(process.waitFor(30, TimeUnit.SECONDS));
    }
  }

  private static String put(String url, Path file) throws Exception {
    return answer(HttpRequest.newBuilder(URI.create(url)).PUT(HttpRequest.BodyPublishers.ofFile(file)).build());
  }

  private static String get(String url) throws Exception {
    return answer(HttpRequest.newBuilder(URI.create(url)).build());
  }

  private static String answer(HttpRequest request) throws Exception {
    HttpResponse<String> answer = HttpClient.newHttpClient().send(request, HttpResponse.BodyHandlers.ofString());
    return answer.statusCode() + " " + answer.body();
  }

  /** A listener sees every packet, in both forms of input; overlays come, are replaced and go while it runs. */
  @Test
  void packetsComeOutAndOverlaysChangeOnTheWay() throws Exception {
    List<CodedPacket> packets = new ArrayList<>();
    Path out = folder.resolve("overlays");
    try (MediaSource source = MediaSource.open(clip);
        Ladder ladder =
            Ladder.of(source)
                .rung(Rung.of(WIDTH, HEIGHT).bitRate(1_000_000))
                .files(MediaFiles.mp4(out))
                .onPacket(packets::add)
                .open()) {
      int pushed = 0;
      for (SourcePacket packet = source.next(); packet != null; packet = source.next(), pushed++) {
        if (pushed == 10) ladder.setOverlay(3, Overlay.of(patch(Color.GRAY), Overlay.Corner.TOP_RIGHT, 8, 8));
        if (pushed == 20) ladder.setOverlay(3, Overlay.of(patch(Color.WHITE), Overlay.Corner.BOTTOM_LEFT, 8, 8).onRung(0));
        if (pushed == 35) ladder.removeOverlay(3);
        ladder.push(packet);
      }
      ladder.finish();
      assertEquals(PICTURES, ladder.statistics().pictures());
      assertEquals(PICTURES, ladder.statistics().rungs().get(0).packets());
    }
    assertEquals(PICTURES, packets.size());
    assertTrue(packets.get(0).key() && packets.get(0).bytes().length > 4);
    byte[] pictures = Clips.decode(out.resolve("clip_320x180.mp4"));
    assertEquals("dark dark", corners(pictures, 5));
    assertEquals("gray dark", corners(pictures, 15));
    assertEquals("dark white", corners(pictures, 30));
    assertEquals("dark dark", corners(pictures, 45));
  }

  private static BufferedImage patch(Color color) {
    BufferedImage patch = new BufferedImage(32, 32, BufferedImage.TYPE_INT_ARGB);
    Graphics2D pen = patch.createGraphics();
    pen.setColor(color);
    pen.fillRect(0, 0, 32, 32);
    pen.dispose();
    return patch;
  }

  private static String corners(byte[] pictures, int picture) {
    int start = picture * WIDTH * HEIGHT * 3 / 2;
    return shade(pictures[start + 24 * WIDTH + WIDTH - 24]) + " " + shade(pictures[start + (HEIGHT - 24) * WIDTH + 24]);
  }

  private static String shade(byte luma) {
    int value = luma & 0xFF;
    return value < 60 ? "dark" : value < 180 ? "gray" : "white";
  }

  /** What a source brings itself may go in again as a program's own packets. */
  @Test
  void ownPacketsMakeALadderToo() throws Exception {
    List<CodedPacket> first = new ArrayList<>();
    try (MediaSource source = MediaSource.open(clip);
        Ladder ladder =
            Ladder.of(source).rung(Rung.of(WIDTH, HEIGHT).codec(Codec.VP8)).onPacket(first::add).open()) {
      for (SourcePacket packet = source.next(); packet != null; packet = source.next()) ladder.push(packet);
      ladder.finish();
    }
    List<CodedPacket> second = new ArrayList<>();
    SourceFormat format = SourceFormat.of(Codec.VP8, WIDTH, HEIGHT).frameRate(25);
    try (Ladder ladder =
        Ladder.of("own", format).rung(Rung.of(64, 64).set("fps", 12.5)).onPacket(second::add).open()) {
      for (CodedPacket packet : first) {
        long ms = Math.round(packet.pts() * packet.unit() * 1000);
        if (packet.key()) ladder.push(packet.bytes(), ms, true);
        else ladder.push(packet.data(), ms, false);
      }
      ladder.updateBitRate(0, 200_000);
      ladder.finish();
      assertEquals(0, ladder.statistics().damagedPictures());
    }
    assertEquals(PICTURES / 2, second.size());
    assertFalse(second.get(1).key());
  }
}
