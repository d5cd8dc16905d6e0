import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import com.zarvo.qvs.api.Ladder;
import com.zarvo.qvs.api.MediaFiles;
import com.zarvo.qvs.api.MediaSource;
import com.zarvo.qvs.api.Parameter;
import com.zarvo.qvs.api.Rung;
import com.zarvo.qvs.api.Sound;
import com.zarvo.qvs.api.SourcePacket;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;

/**
 * A small server that takes video and serves it as HLS, on this machine alone:
 *
 * <pre>
 * java -cp qvs-transcoder.jar HlsServer.java 8080 media
 * curl -T talk.mp4 http://localhost:8080/upload/talk               # a file: done when it answers
 * ffmpeg -re -i talk.mp4 -c copy -f mpegts - | curl -T - http://localhost:8080/feed/talk   # live, as long as it feeds
 * ffplay http://localhost:8080/talk/talk.m3u8
 * </pre>
 */
public final class HlsServer {
  private static final int SEGMENTS = 6;
  private static final Map<String, String> TYPES =
      Map.of("m3u8", "application/vnd.apple.mpegurl", "ts", "video/mp2t", "m4s", "video/iso.segment", "mp4", "video/mp4");

  private final Path folder;
  private final Set<String> busy = ConcurrentHashMap.newKeySet();
  private final ExecutorService threads = Executors.newCachedThreadPool();

  private HlsServer(Path folder) {
    this.folder = folder.toAbsolutePath().normalize();
  }

  public static void main(String[] arguments) throws IOException {
    HlsServer own = new HlsServer(Path.of(arguments[1]));
    InetSocketAddress address = new InetSocketAddress(InetAddress.getLoopbackAddress(), Integer.parseInt(arguments[0]));
    HttpServer server = HttpServer.create(address, 0);
    server.setExecutor(own.threads);
    server.createContext("/upload/", exchange -> own.take(exchange, false));
    server.createContext("/feed/", exchange -> own.take(exchange, true));
    server.createContext("/", own::serve);
    server.start();
    System.out.println("http://localhost:" + server.getAddress().getPort() + "/");
  }

  private void take(HttpExchange exchange, boolean live) throws IOException {
    String[] path = exchange.getRequestURI().getPath().split("/");
    String name = path.length == 3 ? path[2] : "";
    if (!name.matches("[A-Za-z0-9_-]{1,64}")) {
      answer(exchange, 400, "a name has up to 64 letters, digits, _ and -\n");
    } else if (!busy.add(name)) {
      answer(exchange, 409, name + " is at work\n");
    } else {
      try (InputStream body = exchange.getRequestBody()) {
        if (live) feed(name, body);
        else upload(name, body);
        answer(exchange, 201, "/" + name + "/" + name + ".m3u8\n");
      } catch (IOException | RuntimeException e) {
        answer(exchange, 422, e.getMessage() + "\n");
      } finally {
        busy.remove(name);
      }
    }
  }

  private void upload(String name, InputStream body) throws IOException {
    Path work = Files.createTempDirectory("upload");
    Path file = work.resolve(name);
    try {
      Files.copy(body, file, StandardCopyOption.REPLACE_EXISTING);
      transcode(file, MediaFiles.hls(folder.resolve(name)).overwrite());
    } finally {
      Files.deleteIfExists(file);
      Files.delete(work);
    }
  }

  // A pipe is what a reader of live input takes; one thread fills it while this one empties it.
  private void feed(String name, InputStream body) throws IOException {
    Path work = Files.createTempDirectory("feed");
    Path pipe = work.resolve(name);
    try {
      if (new ProcessBuilder("mkfifo", pipe.toString()).start().waitFor() != 0) throw new IOException("no pipe");
      Future<?> filling = threads.submit(() -> fill(pipe, body));
      try {
        transcode(pipe, MediaFiles.liveHls(folder.resolve(name), SEGMENTS));
      } finally {
        filling.cancel(true);
      }
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
      throw new IOException("interrupted");
    } finally {
      Files.deleteIfExists(pipe);
      Files.delete(work);
    }
  }

  private static Void fill(Path pipe, InputStream body) throws IOException {
    try (OutputStream out = Files.newOutputStream(pipe)) {
      body.transferTo(out);
    }
    return null;
  }

  private static void transcode(Path input, MediaFiles output) throws IOException {
    try (MediaSource source = MediaSource.open(input)) {
      Ladder.Builder wanted =
          Ladder.of(source)
              .rung(Rung.of(1280, 720).bitRate(2_000_000).set(Parameter.PRESET, "veryfast"))
              .rung(Rung.of(640, 360).bitRate(600_000))
              .files(output)
              .onEvent(event -> System.out.println(input.getFileName() + ": " + event));
      if (source.hasSound()) wanted.sound(Sound.of(Sound.Codec.AAC, 128_000));
      try (Ladder ladder = wanted.open()) {
        for (SourcePacket packet = source.next(); packet != null; packet = source.next()) ladder.push(packet);
        ladder.finish();
        System.out.println(input.getFileName() + ": " + ladder.statistics());
      }
    }
  }

  private void serve(HttpExchange exchange) throws IOException {
    Path file = folder.resolve("." + exchange.getRequestURI().getPath()).normalize();
    if (!file.startsWith(folder) || !Files.isRegularFile(file)) {
      answer(exchange, 404, "not found\n");
      return;
    }
    String name = file.getFileName().toString();
    String type = TYPES.getOrDefault(name.substring(name.lastIndexOf('.') + 1), "application/octet-stream");
    exchange.getResponseHeaders().set("Content-Type", type);
    exchange.getResponseHeaders().set("Access-Control-Allow-Origin", "*");
    answer(exchange, 200, Files.readAllBytes(file));
  }

  private static void answer(HttpExchange exchange, int code, String text) throws IOException {
    answer(exchange, code, text.getBytes(StandardCharsets.UTF_8));
  }

  private static void answer(HttpExchange exchange, int code, byte[] bytes) throws IOException {
    try (exchange) {
      exchange.sendResponseHeaders(code, bytes.length == 0 ? -1 : bytes.length);
      exchange.getResponseBody().write(bytes);
    }
  }
}
