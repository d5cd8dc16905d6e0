package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.support.Beeps;
import com.zarvo.qvs.host.support.Browser;
import com.zarvo.qvs.host.support.Clips;
import java.io.IOException;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Map;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Playlists in a browser, which shares no code with the muxers: it decodes H.264 and knows that it has no H.265. */
class PlayerTest {
  private static final Path BROWSER = Path.of("/usr/bin/chromium");
  private static final String PAGE =
      """
      <!doctype html><video id=v muted></video><script>
      v.onended = v.onerror = () => fetch('/told?' + (v.error ? encodeURIComponent(v.error.message) : v.videoWidth + 'x'
          + v.videoHeight + ',' + v.currentTime + ',' + v.getVideoPlaybackQuality().totalVideoFrames));
      v.src = 'ladder/mixed.m3u8';
      v.play();
      </script>
      """;

  @TempDir static Path folder;

  private static void answer(HttpExchange exchange, CompletableFuture<String> told) throws IOException {
    Path file = folder.resolve(exchange.getRequestURI().getPath().substring(1));
    boolean found = Files.isRegularFile(file);
    if (exchange.getRequestURI().getPath().equals("/told")) told.complete(exchange.getRequestURI().getQuery());
    if (file.toString().endsWith("m3u8")) exchange.getResponseHeaders().add("Content-Type", "application/vnd.apple.mpegurl");
    byte[] body = found ? Files.readAllBytes(file) : new byte[0];
    exchange.sendResponseHeaders(found ? 200 : 404, body.length == 0 ? -1 : body.length);
    exchange.getResponseBody().write(body);
    exchange.close();
  }

  @Test
  void aBrowserPlaysTheRungOfAMixedLadderThatItCanDecode() throws Exception {
    assumeTrue(Files.isExecutable(BROWSER), "chromium is installed");
    Path source =
        Clips.make(
            "-f lavfi -i testsrc2=size=640x360:rate=25 -f lavfi -i " + Beeps.source(48_000, 3)
                + " -t 3 -c:v libx264 -preset ultrafast -c:a aac",
            folder.resolve("mixed.mp4"));
    Captured run =
        Captured.run(
            "transcode", source.toString(), "-o", folder.resolve("ladder").toString(), "--format", "hls", "--keyframes",
            "1", "--no-contact-sheet", "--rendition", "640x360@500k,codec=h265", "--rendition", "426x240@300k,codec=h264");
    assertEquals(0, run.code(), run.err());
    Files.write(folder.resolve("page.html"), PAGE.getBytes(StandardCharsets.UTF_8));
    CompletableFuture<String> told = new CompletableFuture<>();
    HttpServer server = HttpServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), 0), 0);
    server.createContext("/", exchange -> answer(exchange, told));
    server.start();
    Process browser =
        new ProcessBuilder(
                BROWSER.toString(), "--headless=new", "--no-sandbox", "--disable-gpu",
                "--autoplay-policy=no-user-gesture-required", "--user-data-dir=" + folder.resolve("profile"),
                "http://127.0.0.1:" + server.getAddress().getPort() + "/page.html")
            .redirectErrorStream(true)
            .redirectOutput(folder.resolve("browser.txt").toFile())
            .start();
    try {
      String[] shown = told.get(60, TimeUnit.SECONDS).split(",");
      assertEquals("426x240", shown[0], String.join(",", shown));
      assertEquals(3, Double.parseDouble(shown[1]), 0.05, "played to the end");
      assertEquals(75, Integer.parseInt(shown[2]), "pictures");
    } finally {
      browser.destroy();
      assertTrue(browser.waitFor(30, TimeUnit.SECONDS), "the browser ends");
      server.stop(0);
    }
  }

  private static String told(Path said, Pattern wanted, Process process) throws Exception {
    for (int i = 0; i < 600 && process.isAlive(); i++, Thread.sleep(100)) {
      Matcher found = wanted.matcher(Files.readString(said));
      if (found.find()) return found.group(1);
    }
    throw new IOException(Files.readString(said));
  }

  @Test
  void aPreviewPlaysSwitchesAndTellsItsNumbers() throws Exception {
    assumeTrue(Browser.isInstalled(), "chromium is installed");
    Path source =
        Clips.make(
            "-f lavfi -i testsrc2=size=640x360:rate=25 -f lavfi -i " + Beeps.source(48_000, 8)
                + " -t 8 -c:v libx264 -preset ultrafast -c:a aac",
            folder.resolve("preview.mp4"));
    Path said = folder.resolve("said.txt");
    Path temporary = Files.createDirectory(folder.resolve("temporary"));
    Process preview =
        Captured.startWith(
            Map.of("JAVA_TOOL_OPTIONS", "-Djava.io.tmpdir=" + temporary), said, "preview", source.toString(),
            "--keyframes", "1", "--live-quality", "2,cpu=100", "--rendition", "640x360@500k", "--rendition", "320x180@200k");
    try {
      String url = told(said, Pattern.compile("preview at (\\S+)"), preview);
      try (Browser browser = new Browser(url, folder)) {
        assertTrue(browser.comes("video.currentTime > 0.5"), "it plays: " + browser.ask("document.body.innerText"));
        for (int height : new int[] {180, 360, 180}) {
          String button = "[...document.querySelectorAll('button')].find(b => b.textContent.includes('x" + height + " '))";
          browser.ask(button + ".click()");
          assertTrue(browser.comes("video.videoHeight === " + height), height + ": " + browser.ask("document.body.innerText"));
          assertEquals("true", browser.ask(button + ".getAttribute('aria-pressed')"));
        }
        assertTrue(browser.comes("[...document.querySelectorAll('#numbers tr')].filter(r => +r.cells[8].textContent > 20).length === 2"));
        assertTrue(browser.comes("document.getElementById('road').naturalWidth > 500"), "the road is drawn");
        assertEquals("", browser.ask("document.getElementById('trouble').textContent"));
        browser.screenshot(NativeLibraries.directory().resolveSibling("preview.png"));
      }
    } finally {
      preview.destroy();
      assertTrue(preview.waitFor(60, TimeUnit.SECONDS), "the preview ends");
    }
    assertEquals(143, preview.exitValue(), Files.readString(said));
    try (Stream<Path> left = Files.list(temporary)) {
      assertEquals(0, left.filter(path -> path.getFileName().toString().startsWith("qvs-preview")).count());
    }
  }
}
