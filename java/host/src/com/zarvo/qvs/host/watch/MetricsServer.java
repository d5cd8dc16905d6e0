package com.zarvo.qvs.host.watch;

import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.SessionCounters;
import java.io.IOException;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.net.UnknownHostException;
import java.nio.file.Path;
import java.util.Map;
import java.util.Optional;
import java.util.concurrent.ConcurrentSkipListMap;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * Tells the numbers of sessions over HTTP: "/metrics" in Prometheus' text format, "/sessions" and "/sessions/ID" as JSON,
 * "/sessions/ID/graph.svg" as a picture. It only reads; its threads are its own and keep no process alive.
 */
public final class MetricsServer implements AutoCloseable {
  private static final String LOOPBACK = "127.0.0.1";
  private static final int THREADS = 2;
  private static final Pattern ADDRESS = Pattern.compile("(?:(\\[[^\\]]+\\]|[^:]+):)?(\\d{1,5})");
  private static final Pattern SESSION = Pattern.compile("/sessions/(\\d{1,18})(/graph\\.svg)?");

  private final Map<Long, SessionCounters> sessions = new ConcurrentSkipListMap<>();
  private final HttpServer server;
  private final ExecutorService threads;
  /** Null where there is nothing to be looked at but numbers. */
  private final PreviewPages preview;

  private MetricsServer(HttpServer server, PreviewPages preview) {
    this.server = server;
    this.preview = preview;
    threads =
        Executors.newFixedThreadPool(
            THREADS,
            task -> {
              Thread thread = new Thread(task, "metrics");
              thread.setDaemon(true);
              return thread;
            });
    server.setExecutor(threads);
    server.createContext("/", this::answer);
    server.start();
  }

  /** Listens at "[HOST:]PORT", on the loopback unless told otherwise; port 0 picks one. */
  public static MetricsServer open(String address) throws HostException {
    return open("--metrics", address, null);
  }

  /**
   * The same with a page for people, which plays the live ladder that comes to be in a folder.
   *
   * @param option by which the address was given, for what is wrong with it
   * @param master name of the playlist of all renditions
   */
  public static MetricsServer openPreview(String option, String address, Path folder, String master)
      throws HostException {
    return open(option, address, new PreviewPages(folder, master));
  }

  private static MetricsServer open(String option, String address, PreviewPages preview) throws HostException {
    InetSocketAddress socket = addressOf(option, address);
    // A client that says nothing must not keep the others waiting. Read once, by the first server of a process.
    if (System.getProperty("sun.net.httpserver.maxReqTime") == null)
      System.setProperty("sun.net.httpserver.maxReqTime", "10");
    try {
      return new MetricsServer(HttpServer.create(socket, 0), preview);
    } catch (IOException e) {
      throw new HostException(option + " " + address + ": " + e.getMessage());
    }
  }

  private static InetSocketAddress addressOf(String option, String address) throws HostException {
    Matcher parts = ADDRESS.matcher(address);
    if (!parts.matches() || Integer.parseInt(parts.group(2)) > 65_535)
      throw new HostException(option + " " + address + ": is no [HOST:]PORT");
    String host = parts.group(1) == null ? LOOPBACK : parts.group(1);
    try {
      return new InetSocketAddress(InetAddress.getByName(host), Integer.parseInt(parts.group(2)));
    } catch (UnknownHostException e) {
      throw new HostException(option + " " + address + ": no host has that name");
    }
  }

  /** Where the numbers are. */
  public String url() {
    return root() + "metrics";
  }

  /** Where it listens. */
  public String root() {
    InetSocketAddress at = server.getAddress();
    String host = at.getAddress().getHostAddress();
    return "http://" + (host.contains(":") ? "[" + host + "]" : host) + ":" + at.getPort() + "/";
  }

  /** Tells of a session from now on. */
  public void add(SessionCounters session) {
    sessions.put(session.id(), session);
  }

  /** No longer tells of it. */
  public void remove(SessionCounters session) {
    sessions.remove(session.id());
  }

  @Override
  public void close() {
    server.stop(0);
    threads.shutdownNow();
  }

  private void answer(HttpExchange exchange) throws IOException {
    try (exchange) {
      boolean head = exchange.getRequestMethod().equals("HEAD");
      boolean reads = head || exchange.getRequestMethod().equals("GET");
      Page page = reads ? pageOf(exchange.getRequestURI().getPath()) : Page.text(405, "text/plain", "GET or HEAD\n");
      byte[] body = page.body();
      exchange.getResponseHeaders().set("Content-Type", page.type());
      exchange.getResponseHeaders().set("Cache-Control", "no-store");
      // A browser that shows the picture asks anew each second; no script is needed.
      if (page.type().equals(RoadPicture.CONTENT_TYPE)) exchange.getResponseHeaders().set("Refresh", "1");
      if (!reads) exchange.getResponseHeaders().set("Allow", "GET, HEAD");
      exchange.sendResponseHeaders(page.status(), head ? -1 : body.length);
      if (!head) exchange.getResponseBody().write(body);
    }
  }

  private Page pageOf(String path) throws IOException {
    Optional<Page> shown = preview == null ? Optional.empty() : preview.of(path);
    if (shown.isPresent()) return shown.get();
    if (path.equals("/metrics")) return Page.text(200, PrometheusText.CONTENT_TYPE, PrometheusText.of(sessions.values()));
    if (path.equals("/sessions")) return Page.json(sessions.values().stream().map(SessionNumbers::full).toList());
    Matcher match = SESSION.matcher(path);
    SessionCounters session = match.matches() ? sessions.get(Long.parseLong(match.group(1))) : null;
    if (session == null)
      return Page.text(404, "text/plain", "There are /metrics, /sessions, /sessions/ID and /sessions/ID/graph.svg\n");
    if (match.group(2) == null) return Page.json(SessionNumbers.full(session));
    return Page.text(200, RoadPicture.CONTENT_TYPE, RoadPicture.of(session));
  }
}
