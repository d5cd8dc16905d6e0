package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.google.gson.JsonArray;
import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.support.Clips;
import com.zarvo.qvs.host.watch.MetricsServer;
import java.io.BufferedReader;
import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.net.ServerSocket;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.Callable;
import java.util.concurrent.CompletableFuture;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.xml.parsers.DocumentBuilderFactory;
import jdk.jfr.Recording;
import jdk.jfr.consumer.RecordedEvent;
import jdk.jfr.consumer.RecordingFile;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;

/** What those see who watch the work: lines of progress, metrics, flight recordings. */
@Timeout(120)
class WatchTest {
  private static final int FRAMES = 250;
  private static final String LABEL = "[a-zA-Z_]\\w*=\"(?:[^\"\\\\\\n]|\\\\[\\\\\"n])*\"";
  private static final Pattern SAMPLE =
      Pattern.compile("([a-zA-Z_:][\\w:]*(?:\\{" + LABEL + "(?:," + LABEL + ")*\\})?) ([-+]?[\\d.]+(?:[eE][-+]?\\d+)?)");
  private static final Pattern HEAD =
      Pattern.compile("# HELP (\\w+) [^\\n]+\\n# TYPE \\1 (?:counter|gauge|summary)");

  @TempDir static Path folder;
  private static Path source;

  @BeforeAll
  static void makeSource() throws Exception {
    // A name that has to be escaped everywhere.
    source =
        Clips.make(
            "-f lavfi -i testsrc2=size=320x180:rate=25 -f lavfi -i sine -t 10 -c:v libx264 -preset ultrafast -g 25 -c:a aac",
            folder.resolve("a<b>&\"c\\d.ts"));
  }

  private static HttpResponse<String> get(String url) throws IOException, InterruptedException {
    HttpRequest request = HttpRequest.newBuilder(URI.create(url)).build();
    return HttpClient.newHttpClient().send(request, HttpResponse.BodyHandlers.ofString());
  }

  /** The samples of a text in Prometheus' format, each line of which is checked. */
  private static Map<String, Double> samples(String text) {
    assertTrue(text.endsWith("\n"));
    Map<String, Double> samples = new HashMap<>();
    for (String line : HEAD.matcher(text).replaceAll("").split("\n")) {
      if (line.isEmpty()) continue;
      Matcher sample = SAMPLE.matcher(line);
      assertTrue(sample.matches(), line);
      assertEquals(null, samples.put(sample.group(1), Double.valueOf(sample.group(2))), "once: " + line);
    }
    return samples;
  }

  private static List<RecordedEvent> events(Recording recording, String name) throws IOException {
    Path file = folder.resolve("flight.jfr");
    recording.dump(file);
    return RecordingFile.readAllEvents(file).stream()
        .filter(event -> event.getEventType().getName().equals("com.zarvo.qvs." + name))
        .toList();
  }

  @Test
  void metricsAndFlightEventsTellWhatTheReportTells() throws Exception {
    JobSettings settings =
        JobSettings.of(source, folder.resolve("api"))
            .renditions(List.of(RenditionSpec.parse("320x180@300k"), RenditionSpec.parse("160x90@100k,fps=12.5"), RenditionSpec.parse("160x90@90k")))
            .build();
    try (MetricsServer server = MetricsServer.open("0");
        Recording recording = new Recording()) {
      recording.enable("com.zarvo.qvs.Frame");
      recording.start();
      TranscodeJob job = new TranscodeJob(settings, Console::progress, new Interruption());
      List<Long> ids = new ArrayList<>();
      JobResult result = job.watchedBy(session -> { ids.add(session.id()); server.add(session); }).run();
      HttpResponse<String> answer = get(server.url());
      Map<String, Double> found = samples(answer.body());
      String session = "{session=\"" + ids.get(0) + "\"";
      assertEquals(FRAMES, found.get("qvs_pictures_total" + session + "}"));
      assertEquals(0, found.get("qvs_damaged_pictures_total" + session + "}"));
      assertEquals(result.mediaMs() / 1000.0, found.get("qvs_media_seconds_total" + session + "}"));
      assertEquals(0, found.get("qvs_av_offset_seconds" + session + "}"), 0.2, "sound and pictures end together");
      assertTrue(found.get("process_resident_memory_bytes") > 1e7);
      String[] labels = {"320x180", "160x90", "160x90#2"};
      for (int i = 0; i < labels.length; i++) {
        String rung = session + ",rung=\"" + labels[i] + "\"";
        JobResult.Rendition made = result.renditions().get(i);
        assertEquals(made.frames(), found.get("qvs_rung_pictures_total" + rung + "}").longValue());
        assertEquals(made.bytes(), found.get("qvs_rung_bytes_total" + rung + "}").longValue());
        assertEquals(made.bitRate(result.mediaMs()), found.get("qvs_rung_bit_rate" + rung + "}"), 1);
        assertEquals(FRAMES - made.frames(), found.get("qvs_rung_dropped_pictures_total" + rung + "}").longValue());
        assertEquals(0, found.get("qvs_rung_queue_depth" + rung + "}"));
        for (String stage : List.of("scale", "encode")) {
          String of = rung + ",stage=\"" + stage + "\"";
          assertEquals(made.frames(), found.get("qvs_stage_seconds_count" + of + "}").longValue());
          double p50 = found.get("qvs_stage_seconds" + of + ",quantile=\"0.5\"}");
          double p99 = found.get("qvs_stage_seconds" + of + ",quantile=\"0.99\"}");
          assertTrue(p50 > 0 && p50 <= p99, stage + ": " + p50 + " to " + p99);
        }
      }
      String at = server.url().replace("/metrics", "/sessions/" + ids.get(0));
      JsonObject json = JsonParser.parseString(get(at).body()).getAsJsonObject();
      assertEquals(FRAMES, json.getAsJsonObject("input").get("pictures").getAsInt());
      assertEquals(source.getFileName().toString(), json.get("name").getAsString());
      byte[] svg = get(at + "/graph.svg").body().getBytes(StandardCharsets.UTF_8);
      String drawn =
          DocumentBuilderFactory.newInstance().newDocumentBuilder().parse(new ByteArrayInputStream(svg)).getDocumentElement().getTextContent();
      assertTrue(drawn.contains(source.getFileName().toString()) && drawn.contains("scale to 160x90#2"), drawn);
      assertEquals(404, get(at + "0").statusCode());
      List<RecordedEvent> ended = events(recording, "Session");
      assertEquals(1, ended.size());
      assertEquals(FRAMES, ended.get(0).getLong("pictures"));
      assertEquals(2 * labels.length, events(recording, "Encode").size(), "after 250 pictures and at the end");
      assertEquals(result.renditions().stream().mapToLong(JobResult.Rendition::frames).sum(), events(recording, "Frame").size());
      Captured second =
          Captured.run("transcode", source.toString(), "-o", folder.resolve("late").toString(), "--metrics",
              Integer.toString(URI.create(server.url()).getPort()));
      assertEquals(1, second.code());
      assertTrue(second.err().matches("qvs: --metrics \\d+: Address already in use\n"), second.err());
      assertTrue(Files.notExists(folder.resolve("late")));
    }
  }

  private static Path fifo(String name) throws Exception {
    Path fifo = folder.resolve(name);
    Clips.run("mkfifo", fifo.toString());
    return fifo;
  }

  /** Writes most of the source, the rest once a condition holds. */
  private static CompletableFuture<Void> feed(Path fifo, Callable<Boolean> condition) {
    return CompletableFuture.runAsync(
        () -> {
          try (OutputStream out = Files.newOutputStream(fifo)) {
            byte[] bytes = Files.readAllBytes(source);
            int most = bytes.length * 3 / 4;
            out.write(bytes, 0, most);
            out.flush();
            for (int i = 0; i < 400 && !condition.call(); i++) Thread.sleep(50);
            out.write(bytes, most, bytes.length - most);
          } catch (Exception e) {
            throw new IllegalStateException(e);
          }
        });
  }

  /** True once packets were seen, and lines of progress had their time. */
  private static boolean codes(String url) throws Exception {
    boolean seen =
        samples(get(url).body()).entrySet().stream()
            .anyMatch(sample -> sample.getKey().startsWith("qvs_rung_pictures_total") && sample.getValue() > 0);
    if (seen) Thread.sleep(1500);
    return seen;
  }

  private static int freePort() throws IOException {
    try (ServerSocket socket = new ServerSocket(0)) {
      return socket.getLocalPort();
    }
  }

  @Test
  void linesOfProgressEndWhereTheReportEnds() throws Exception {
    Path fifo = fifo("feed.ts");
    Path report = folder.resolve("report.json");
    int port = freePort();
    String url = "http://127.0.0.1:" + port + "/metrics";
    CompletableFuture<Void> fed = feed(fifo, () -> codes(url));
    Captured run =
        Captured.run(
            "transcode", fifo.toString(), "-o", folder.resolve("lines").toString(), "--rendition", "160x90@100k",
            "--progress", "-", "--metrics", Integer.toString(port), "--report", report.toString());
    fed.get();
    assertEquals(0, run.code(), run.err());
    assertTrue(run.err().contains("qvs: metrics at " + url) && run.err().contains("feed_160x90.mp4"), run.err());
    assertThrows(IOException.class, () -> get(url), "ends with the work");
    List<JsonObject> lines =
        run.outLines().stream().map(line -> JsonParser.parseString(line).getAsJsonObject()).toList();
    JsonObject first = lines.get(0);
    JsonObject last = lines.get(lines.size() - 1);
    JsonObject told = JsonParser.parseString(Files.readString(report)).getAsJsonObject();
    assertEquals("running", first.get("outcome").getAsString());
    for (String name : List.of("outcome", "wallSeconds", "speed")) assertEquals(told.get(name), last.get(name), name);
    for (String name : List.of("pictures", "damagedPictures", "seconds"))
      assertEquals(told.getAsJsonObject("input").get(name), last.getAsJsonObject("input").get(name), name);
    JsonObject made = told.getAsJsonArray("renditions").get(0).getAsJsonObject();
    JsonObject rung = last.getAsJsonArray("renditions").get(0).getAsJsonObject();
    for (String name : List.of("codec", "width", "height", "pictures", "bytes", "wantedBitRate", "bitRate"))
      assertEquals(made.get(name), rung.get(name), name);
    assertTrue(first.getAsJsonObject("input").get("pictures").getAsInt() < FRAMES);
  }

  @Test
  void aReaderThatGoesEndsNothing() throws Exception {
    Path fifo = fifo("gone.ts");
    Path lines = fifo("lines.jsonl");
    Path report = folder.resolve("gone.json");
    CompletableFuture<Void> reader =
        CompletableFuture.runAsync(
            () -> {
              try (BufferedReader in = Files.newBufferedReader(lines)) {
                in.readLine();
              } catch (IOException e) {
                throw new IllegalStateException(e);
              }
            });
    CompletableFuture<Void> fed = feed(fifo, reader::isDone);
    Captured run =
        Captured.run(
            "transcode", fifo.toString(), "-o", folder.resolve("gone").toString(), "--rendition", "160x90@100k",
            "--progress", lines.toString(), "--report", report.toString());
    fed.get();
    assertEquals(0, run.code(), run.err());
    assertEquals(1, run.err().split("no more lines go there", -1).length - 1, run.err());
    assertTrue(Files.readString(report).contains("\"outcome\": \"done\""));
  }

  @Test
  void workThatFailsIsTheLastLine() throws Exception {
    Path file = folder.resolve("failed.jsonl");
    Path absent = folder.resolve("absent.ts");
    Captured run = Captured.run("transcode", absent.toString(), "-o", folder.toString(), "--progress", file.toString());
    assertEquals(1, run.code());
    JsonObject line = JsonParser.parseString(Files.readString(file)).getAsJsonObject();
    assertEquals("failed", line.get("outcome").getAsString());
    assertTrue(run.err().contains(line.get("error").getAsString()), run.err());
    for (String[] wrong : new String[][] {{"--metrics", "90x"}, {"--metrics", "70000"}, {"--progress", folder.toString()}})
      assertEquals(1, Captured.run("transcode", source.toString(), "-o", absent.toString(), wrong[0], wrong[1]).code(), wrong[1]);
    assertTrue(Files.notExists(absent));
  }

  /** What ffmpeg's filters say of each picture: PSNR, then SSIM. */
  private static List<List<Double>> offLine(Path made, Path of) throws Exception {
    Path[] logs = {folder.resolve("psnr.log"), folder.resolve("ssim.log")};
    Clips.run(
        "ffmpeg", "-v", "error", "-i", made.toString(), "-i", of.toString(), "-lavfi",
        "[0:v]settb=1/25,setpts=N,split[a][c];[1:v]settb=1/25,setpts=N,split[b][d];[a][b]psnr=stats_file=" + logs[0]
            + "[x];[c][d]ssim=stats_file=" + logs[1] + "[y]",
        "-map", "[x]", "-map", "[y]", "-f", "null", "-");
    Pattern value = Pattern.compile(" (?:psnr_avg|All):(\\S+)");
    List<List<Double>> values = new ArrayList<>();
    for (Path log : logs)
      values.add(value.matcher(Files.readString(log)).results().map(found -> Double.valueOf(found.group(1))).toList());
    return values;
  }

  @Test
  void liveQualityIsWhatAnOffLineMeasurementFinds() throws Exception {
    Path clip =
        Clips.make(
            "-f lavfi -i testsrc2=size=160x90:rate=25,noise=alls=10:allf=t -t 4 -c:v libx264 -preset ultrafast -g 25",
            folder.resolve("noisy.mkv"));
    Path report = folder.resolve("quality.json");
    Path made = folder.resolve("quality");
    List<String> arguments =
        new ArrayList<>(
            List.of("transcode", clip.toString(), "-o", made.toString(), "--format", "mkv", "--report", report.toString(), "--live-quality", "4,cpu=100"));
    for (String rung : List.of("160x90@300k", "160x90@250k,bframes=2", "160x90@200k,codec=h265", "160x90@200k,codec=vp9,fps=12.5"))
      arguments.addAll(List.of("--rendition", rung));
    Captured run = Captured.run(arguments.toArray(String[]::new));
    assertEquals(0, run.code(), run.err());
    JsonArray rungs = JsonParser.parseString(Files.readString(report)).getAsJsonObject().getAsJsonArray("renditions");
    for (int i = 0; i < rungs.size(); i++) {
      JsonObject quality = rungs.get(i).getAsJsonObject().getAsJsonObject("quality");
      assertEquals(0, quality.get("missed").getAsInt(), quality.toString());
      assertTrue(quality.get("pictures").getAsInt() >= 6 && quality.get("psnrDb").getAsDouble() > 25, quality.toString());
      // Half of the pictures are left out: no filter knows which belong together.
      if (i == 3) continue;
      Path file = Path.of(rungs.get(i).getAsJsonObject().get("file").getAsString());
      int last = (int) Math.round(quality.get("lastSeconds").getAsDouble() * 25);
      List<List<Double>> offLine = offLine(file, clip);
      List<Double> psnr = offLine.get(0);
      assertEquals(psnr.get(last), quality.get("lastPsnrDb").getAsDouble(), 0.01, file + " at " + last);
      assertEquals(offLine.get(1).get(last), quality.get("lastSsim").getAsDouble(), 0.0005, file.toString());
      double mean = psnr.stream().mapToDouble(db -> Math.pow(10, -db / 10)).average().orElseThrow();
      assertEquals(-10 * Math.log10(mean), quality.get("psnrDb").getAsDouble(), 0.3, "samples stand for all pictures of " + file);
    }
    for (String wrong : List.of("0", "x", "1,cpu=0", "1,cpus=2"))
      assertEquals(2, Captured.run("transcode", clip.toString(), "-o", made.toString(), "--live-quality", wrong).code(), wrong);
  }
}
