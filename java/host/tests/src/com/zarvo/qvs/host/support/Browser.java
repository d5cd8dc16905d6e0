package com.zarvo.qvs.host.support;

import com.google.gson.Gson;
import com.google.gson.JsonElement;
import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import java.io.IOException;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.net.http.WebSocket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Base64;
import java.util.Map;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.CompletionStage;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;

/** Chromium without a window, at a page that is asked and clicked by its debugging protocol. */
public final class Browser implements AutoCloseable {
  private static final Path PROGRAM = Path.of("/usr/bin/chromium");
  private static final int PATIENCE_SECONDS = 60;

  private final BlockingQueue<String> answers = new LinkedBlockingQueue<>();
  private final HttpClient client = HttpClient.newHttpClient();
  private final Process process;
  private final WebSocket socket;
  private int calls;

  public static boolean isInstalled() {
    return Files.isExecutable(PROGRAM);
  }

  /** Opens a page; what the browser keeps goes into the folder. */
  public Browser(String url, Path folder) throws Exception {
    Path profile = folder.resolve("browser");
    process =
        new ProcessBuilder(
                PROGRAM.toString(), "--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1100,1150",
                "--autoplay-policy=no-user-gesture-required", "--remote-debugging-port=0", "--user-data-dir=" + profile, url)
            .redirectErrorStream(true)
            .redirectOutput(folder.resolve("browser.txt").toFile())
            .start();
    socket = client.newWebSocketBuilder().buildAsync(page(profile.resolve("DevToolsActivePort")), new Answers()).join();
  }

  private URI page(Path told) throws Exception {
    for (int i = 0; i < 10 * PATIENCE_SECONDS; i++, Thread.sleep(100)) {
      if (!Files.exists(told) || Files.readAllLines(told).isEmpty()) continue;
      URI list = URI.create("http://127.0.0.1:" + Files.readAllLines(told).get(0) + "/json/list");
      String text = client.send(HttpRequest.newBuilder(list).build(), HttpResponse.BodyHandlers.ofString()).body();
      for (JsonElement target : JsonParser.parseString(text).getAsJsonArray())
        if (target.getAsJsonObject().get("type").getAsString().equals("page"))
          return URI.create(target.getAsJsonObject().get("webSocketDebuggerUrl").getAsString());
    }
    throw new IOException("the browser shows no page");
  }

  private JsonObject call(String method, Map<String, Object> parameters) throws Exception {
    int id = ++calls;
    socket.sendText(new Gson().toJson(Map.of("id", id, "method", method, "params", parameters)), true).join();
    while (true) {
      String text = answers.poll(PATIENCE_SECONDS, TimeUnit.SECONDS);
      if (text == null) throw new IOException("the browser does not answer");
      JsonObject answer = JsonParser.parseString(text).getAsJsonObject();
      if (answer.has("id") && answer.get("id").getAsInt() == id) return answer.getAsJsonObject("result");
    }
  }

  /** What an expression comes to in the page, as text. */
  public String ask(String expression) throws Exception {
    JsonObject result =
        call("Runtime.evaluate", Map.of("expression", "String(" + expression + ")")).getAsJsonObject("result");
    return result.has("value") ? result.get("value").getAsString() : result.toString();
  }

  /** True once the expression holds. */
  public boolean comes(String expression) throws Exception {
    for (int i = 0; i < 5 * PATIENCE_SECONDS; i++, Thread.sleep(200)) if (ask(expression).equals("true")) return true;
    return false;
  }

  public void screenshot(Path file) throws Exception {
    Files.write(file, Base64.getDecoder().decode(call("Page.captureScreenshot", Map.of()).get("data").getAsString()));
  }

  @Override
  public void close() {
    socket.abort();
    process.destroy();
    process.onExit().orTimeout(PATIENCE_SECONDS, TimeUnit.SECONDS).join();
  }

  private final class Answers implements WebSocket.Listener {
    private final StringBuilder text = new StringBuilder();

    @Override
    public CompletionStage<?> onText(WebSocket from, CharSequence data, boolean last) {
      text.append(data);
      if (last) {
        answers.add(text.toString());
        text.setLength(0);
      }
      from.request(1);
      return null;
    }
  }
}
