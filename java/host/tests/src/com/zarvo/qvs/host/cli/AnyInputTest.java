package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.MediaInput;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.session.FrameTap;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.host.support.I420;
import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.Executors;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Files whose pictures the session has no decoder for, pictures that are files, and inputs of servers. */
@Timeout(120)
class AnyInputTest {
  private static final int WIDTH = 256;
  private static final int HEIGHT = 144;
  private static final String SOURCE = "-f lavfi -i testsrc2=size=256x144:rate=25 -frames:v 6 ";

  @TempDir static Path folder;
  private final CountDownLatch over = new CountDownLatch(1);
  private HttpServer server;

  /** All pictures as the session has them before anything is encoded. */
  private static byte[] pictures(Path file) throws Exception {
    NativeLibraries.loadMedia();
    ByteArrayOutputStream all = new ByteArrayOutputStream();
    try (MediaReader reader = MediaReader.open(MediaInput.of(file))) {
      reader.ignore(MediaKind.AUDIO);
      FrameTap[] tap = new FrameTap[1];
      SessionOutput output =
          new SessionOutput() {
            @Override
            public void decoded(long timecode, int width, int height) {
              all.write(tap[0].lastFrame(), 0, tap[0].length());
            }
          };
      try (TranscodeSession session =
          new TranscodeSession(SessionSettings.of("any").video(reader).build(), output, null)) {
        tap[0] = new FrameTap(session.handle());
        for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) session.push(packet);
        session.drain();
        tap[0].close();
        assertEquals(0, session.damagedFrames());
      }
    }
    return all.toByteArray();
  }

  private static byte[] expected(Path file, String form) throws Exception {
    Path raw = folder.resolve("expected.yuv");
    Clips.make("-i " + file + " -vsync passthrough -sws_flags bicubic+accurate_rnd+full_chroma_int+full_chroma_inp -pix_fmt " + form + " -f rawvideo", raw);
    return Files.readAllBytes(raw);
  }

  private static double psnr(byte[] one, byte[] other) {
    assertEquals(one.length, other.length, "as many pictures of as many samples");
    double sum = 0;
    for (int i = 0; i < one.length; i++) sum += Math.pow((one[i] & 0xff) - (other[i] & 0xff), 2);
    return sum == 0 ? 100 : 10 * Math.log10(255.0 * 255.0 * one.length / sum);
  }

  @ParameterizedTest
  @CsvSource({
    "av1.mkv,-c:v libaom-av1 -cpu-used 8 -usage realtime,yuv420p",
    "prores.mov,-c:v prores_ks -profile:v 3 -pix_fmt yuv422p10le,yuv420p",
    "alpha.mov,-c:v prores_ks -profile:v 4 -pix_fmt yuva444p10le,yuv420p",
    "dnxhr.mxf,-c:v dnxhd -profile:v dnxhr_hq -pix_fmt yuv422p,yuv420p",
    "mjpeg.avi,-c:v mjpeg -q:v 2 -pix_fmt yuvj420p,yuvj420p",
    "theora.ogv,-c:v libtheora -q:v 8,yuv420p",
    "wmv.asf,-c:v wmv2 -b:v 2M,yuv420p",
    "anim.gif,-c:v gif,yuv420p",
    "deep.mkv,-c:v ffv1 -pix_fmt yuv420p10le,yuv420p",
    "full.mkv,-c:v ffv1 -pix_fmt yuv444p,yuv420p",
    "png.mov,-c:v png -pix_fmt rgb24,yuv420p"
  })
  void picturesAreThoseOfAnotherDecoder(String name, String coder, String form) throws Exception {
    Path clip = Clips.make(SOURCE + coder, folder.resolve(name));
    double db = psnr(expected(clip, form), pictures(clip));
    System.out.printf("%s: %.1f dB%n", name, db);
    assertTrue(db > 45, name + ": " + db + " dB");
  }

  @Test
  void picturesThatAreFilesFollowEachOther() throws Exception {
    Path shots = Files.createDirectory(folder.resolve("shots [1]"));
    Path stray = Files.writeString(shots.resolve("notes.txt"), "no picture");
    Path pattern = Clips.make(SOURCE + "-c:v png", folder.resolve("frame%03d.png"));
    for (int i = 1; i <= 6; i++) Files.copy(folder.resolve("frame00" + i + ".png"), shots.resolve("f" + i + ".png"));
    for (Path input : List.of(pattern, shots)) {
      Captured run = Captured.run("decode", input.toString(), "--fps", "10");
      assertEquals(0, run.code(), run.err());
      assertTrue(run.out().contains("5, 500, 256x144"), run.out());
    }
    Files.move(stray, shots.resolve("other.jpg"));
    assertTrue(Captured.run("decode", shots.toString()).err().contains("several kinds: jpg, png"));
    Captured run = Captured.run("transcode", pattern.toString(), "-o", folder.resolve("seq").toString(), "--fps", "10");
    assertEquals(0, run.code(), run.err());
    assertTrue(run.err().contains("png is decoded by libavcodec ahead of the session"), run.err());
    Path made = Files.list(folder.resolve("seq")).filter(file -> file.toString().endsWith(".mp4")).findFirst().orElseThrow();
    assertEquals(List.of("0.000000", "0.100000", "0.200000"), Clips.shownTimes(made).subList(0, 3));
  }

  @Test
  void whatIsTransparentLiesOverBlack() throws Exception {
    Path clip =
        Clips.make(
            "-f lavfi -i color=white@0.5:size=64x64,format=rgba -f lavfi -i color=white@0.0:size=64x64,format=rgba"
                + " -filter_complex hstack,format=rgba -frames:v 1 -c:v png",
            folder.resolve("clear.mov"));
    I420 picture = new I420(pictures(clip), 128, 64);
    picture.assertColor("half", 0, 8, 8, 40, 40, 126, 128, 128);
    picture.assertColor("clear", 0, 72, 8, 40, 40, 16, 128, 128);
  }

  @Test
  void sizesChangeAndDelaysStay() throws Exception {
    Path one = Clips.make(SOURCE + "-c:v mjpeg -f mjpeg", folder.resolve("one.mjpeg"));
    Path two = Clips.make(SOURCE.replace("256x144", "176x98") + "-c:v mjpeg -f mjpeg", folder.resolve("two.mjpeg"));
    Path both = folder.resolve("both.mjpeg");
    Files.write(both, Files.readAllBytes(one));
    Files.write(both, Files.readAllBytes(two), java.nio.file.StandardOpenOption.APPEND);
    Captured run = Captured.run("decode", both.toString());
    assertEquals(0, run.code(), run.err());
    assertTrue(run.out().contains("256x144") && run.out().contains("11, 440, 176x98"), run.out());
    Path slow = Clips.make(SOURCE + "-vf setpts='if(lt(N,2),N*10,N*25)' -vsync vfr -c:v gif", folder.resolve("slow.gif"));
    List<String> lines = Captured.run("decode", slow.toString()).outLines();
    assertEquals(List.of("0, 0, 256x144", "1, 400, 256x144", "2, 2000, 256x144"), lines.subList(0, 3));
  }

  @Test
  void lostPicturesAreTold() throws Exception {
    Path clip = Clips.make(SOURCE + "-c:v prores_ks", folder.resolve("broken.mov"));
    byte[] bytes = Files.readAllBytes(clip);
    int[] at = {-1};
    String text = new String(bytes, StandardCharsets.ISO_8859_1);
    for (int i = 0; i < 3; i++) at[0] = text.indexOf("icpf", at[0] + 1);
    Arrays.fill(bytes, at[0], at[0] + 40, (byte) 0xff);
    Files.write(clip, bytes);
    Captured run = Captured.run("decode", clip.toString());
    assertEquals(1, run.code());
    assertTrue(run.out().contains("pictures: 5") && run.err().contains("damaged pictures: 1"), run.out() + run.err());
  }

  private interface Answer {
    void to(HttpExchange exchange) throws Exception;
  }

  private String serve(String name, Answer answer) throws IOException {
    server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), 0), 0);
    server.setExecutor(Executors.newCachedThreadPool(work -> daemon(work)));
    server.createContext(
        "/",
        exchange -> {
          try (exchange) {
            answer.to(exchange);
          } catch (Exception e) {
            // The other side has gone, as some tests want it.
          }
        });
    server.start();
    return "http://127.0.0.1:" + server.getAddress().getPort() + "/" + name;
  }

  private static Thread daemon(Runnable work) {
    Thread thread = new Thread(work);
    thread.setDaemon(true);
    return thread;
  }

  @AfterEach
  void stop() {
    over.countDown();
    if (server != null) server.stop(0);
  }

  @Test
  void aCutConnectionIsMadeAnew() throws Exception {
    byte[] clip = Files.readAllBytes(Clips.make(SOURCE.replace("-frames:v 6", "-t 4") + "-c:v libx264 -b:v 4M -movflags +faststart", folder.resolve("cut.mp4")));
    AtomicInteger cuts = new AtomicInteger();
    String url =
        serve(
            "cut.mp4",
            exchange -> {
              String range = exchange.getRequestHeaders().getFirst("Range");
              int from = range == null ? 0 : Integer.parseInt(range.replaceAll("bytes=(\\d+)-.*", "$1"));
              exchange.getResponseHeaders().set("Accept-Ranges", "bytes");
              exchange.getResponseHeaders().set("Content-Range", "bytes " + from + "-" + (clip.length - 1) + "/" + clip.length);
              exchange.sendResponseHeaders(206, clip.length - from);
              boolean cut = cuts.getAndIncrement() == 0;
              exchange.getResponseBody().write(clip, from, cut ? clip.length / 2 - from : clip.length - from);
            });
    Captured here = Captured.run("decode", folder.resolve("cut.mp4").toString(), "--framemd5");
    Captured there = Captured.run("decode", url, "--framemd5");
    assertEquals(0, there.code(), there.err());
    assertEquals(here.out(), there.out());
    assertTrue(cuts.get() > 1 && there.err().contains("lost connections: 1, made anew"), there.err());
  }

  @Test
  void serversThatDoNotServeEndTheRunInALine() throws Exception {
    String url =
        serve(
            "none.mp4",
            exchange -> {
              if (exchange.getRequestURI().getPath().contains("none")) exchange.sendResponseHeaders(404, -1);
              else over.await();
            });
    Captured missing = Captured.run("decode", url + "?key=secret");
    assertEquals(1, missing.code());
    assertTrue(missing.err().contains("none.mp4: cannot open") && missing.err().contains("404"), missing.err());
    assertTrue(!missing.err().contains("secret"), missing.err());
    Captured silent = Captured.run("decode", url.replace("none", "silent"), "--input-timeout", "1");
    assertEquals(1, silent.code());
    assertTrue(silent.err().contains("nothing came for 1 s"), silent.err());
    assertEquals(2, Captured.run("decode", "gopher://127.0.0.1/clip").code());
  }

  @Test
  void aLocalPlaylistNeverOpensTheNetwork() throws Exception {
    AtomicInteger asked = new AtomicInteger();
    String url = serve("part.ts", exchange -> asked.incrementAndGet());
    String text = "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + url + "\n#EXT-X-ENDLIST\n";
    Path list = Files.writeString(folder.resolve("list.m3u8"), text);
    Captured run = Captured.run("decode", list.toString());
    assertTrue(run.code() == 1 && run.err().contains("format hls is not taken, --allow-any-format"), run.err());
    assertEquals(1, Captured.run("decode", list.toString(), "--allow-any-format").code());
    assertEquals(0, asked.get());
  }

  @Test
  void aLiveServerEndsWholeByASignal() throws Exception {
    byte[] clip = Files.readAllBytes(Clips.make(SOURCE.replace("-frames:v 6", "-t 8") + "-c:v libx264 -g 25 -f mpegts", folder.resolve("live.ts")));
    CountDownLatch sent = new CountDownLatch(1);
    String url =
        serve(
            "live.ts",
            exchange -> {
              exchange.sendResponseHeaders(200, 0);
              OutputStream out = exchange.getResponseBody();
              out.write(clip);
              out.flush();
              sent.countDown();
              over.await();
            });
    Path out = folder.resolve("live");
    Process run = Captured.start(folder.resolve("live.txt"), "transcode", url, "-o", out.toString(), "--rendition", "128x72", "--progress", folder.resolve("live.json").toString());
    sent.await();
    for (int i = 0; i < 600 && !progress().contains("\"seconds\":"); i++) Thread.sleep(100);
    run.destroy();
    assertEquals(143, run.waitFor(), Files.readString(folder.resolve("live.txt")));
    assertTrue(Clips.times(out.resolve("live_128x72.mp4")).size() >= 10);
    assertTrue(!Files.readString(folder.resolve("live.txt")).contains("damaged"));
  }

  // Empty until a picture went in.
  private static String progress() throws IOException {
    Path file = folder.resolve("live.json");
    String text = Files.exists(file) ? Files.readString(file) : "";
    return text.contains("\"pictures\":0,") ? text.replaceAll("(?m)^.*\"pictures\":0,.*$", "") : text;
  }
}
