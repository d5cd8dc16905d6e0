import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.LiveQuality;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.host.watch.MetricsServer;
import com.zarvo.qvs.host.watch.ProgressLines;
import com.sun.management.OperatingSystemMXBean;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.lang.management.ManagementFactory;
import java.net.URI;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.StringJoiner;
import java.util.concurrent.Executors;
import java.util.concurrent.ScheduledExecutorService;
import java.util.concurrent.TimeUnit;
import jdk.jfr.Recording;

/**
 * What it costs to be watched: CPU of the whole process for a ladder of H.264, with lines of progress, a scrape and a
 * picture of the road a second and a flight recording, against the same without. The reading side counts too; what
 * starts once a process (server, recorder) doesn't.
 *
 * <p>Arguments: clip, pairs of runs. Prints a JSON line.
 */
public final class WatchBench {
  private static final String[] LADDER = {"1280x720@2500k", "854x480@1200k", "640x360@700k"};
  private static final OperatingSystemMXBean SYSTEM =
      (OperatingSystemMXBean) ManagementFactory.getOperatingSystemMXBean();

  private final List<MediaPacket> packets = new ArrayList<>();
  private final SessionSettings settings;
  private final SessionSettings measured;

  // As many scrapes as a service has answered after some minutes.
  private int warmUps = 300;

  private WatchBench(Path clip) throws Exception {
    NativeLibraries.loadMedia();
    SessionSettings.Builder builder = SessionSettings.of("bench").parallel(true);
    SessionSettings.Builder measuredBuilder = SessionSettings.of("bench").parallel(true).liveQuality(LiveQuality.parse("1"));
    List<RenditionSpec> ladder = new ArrayList<>();
    for (String text : LADDER) ladder.add(RenditionSpec.parse(text).settled(VideoCodec.H264, 0, null));
    try (MediaReader reader = MediaReader.open(clip)) {
      reader.ignore(MediaKind.AUDIO);
      builder.video(reader).renditions(ladder);
      measuredBuilder.video(reader).renditions(ladder);
      for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) packets.add(packet);
    }
    settings = builder.build();
    measured = measuredBuilder.build();
  }

  /** The same with quality measured, which is told to take 1.5 % at most: over all runs, for it comes in bursts. */
  private double qualityCost(int pairs) throws Exception {
    double with = 0;
    double without = 0;
    long pictures = 0;
    for (int i = 0; i < pairs; i++) {
      without += run(false);
      try (TranscodeSession session = new TranscodeSession(measured, new SessionOutput() {}, null)) {
        with += feed(session);
        pictures += session.counters().rungs().stream().mapToLong(rung -> rung.quality().pictures()).sum();
      }
    }
    System.err.println("bench: " + pictures + " pictures were measured");
    return with / without;
  }

  private double run(boolean watched) throws Exception {
    try (TranscodeSession session = new TranscodeSession(settings, new SessionOutput() {}, null)) {
      return watched ? feedWatched(session) : feed(session);
    }
  }

  private double feedWatched(TranscodeSession session) throws Exception {
    ScheduledExecutorService scraper = Executors.newSingleThreadScheduledExecutor();
    try (MetricsServer server = MetricsServer.open("0");
        ProgressLines lines = ProgressLines.open("/dev/null", System.out, System.err);
        Recording recording = new Recording()) {
      for (String event : List.of("Session", "Encode", "Replacement")) recording.enable("com.zarvo.qvs." + event);
      recording.start();
      server.add(session.counters());
      lines.watch(session.counters());
      String graph = server.url().replace("/metrics", "/sessions/" + session.counters().id() + "/graph.svg");
      for (; warmUps > 0; warmUps--) read(server.url(), graph);
      scraper.scheduleAtFixedRate(() -> read(server.url(), graph), 1, 1, TimeUnit.SECONDS);
      return feed(session);
    } finally {
      scraper.shutdown();
      scraper.awaitTermination(10, TimeUnit.SECONDS);
    }
  }

  private static void read(String... urls) {
    for (String url : urls) {
      try (InputStream in = URI.create(url).toURL().openStream()) {
        in.transferTo(OutputStream.nullOutputStream());
      } catch (IOException e) {
        // The server goes before the scraper.
      }
    }
  }

  private double feed(TranscodeSession session) throws Exception {
    long before = SYSTEM.getProcessCpuTime();
    session.counters().begins(-1);
    for (MediaPacket packet : packets) {
      session.push(packet);
      session.counters().fed(packet.timecodeMs());
    }
    session.drain();
    return (SYSTEM.getProcessCpuTime() - before) / 1e9;
  }

  public static void main(String[] arguments) throws Exception {
    WatchBench bench = new WatchBench(Path.of(arguments[0]));
    int pairs = Integer.parseInt(arguments[1]);
    // Both ways once for the compiler.
    bench.run(true);
    bench.run(false);
    StringJoiner ratios = new StringJoiner(", ", "[", "]");
    for (int i = 0; i < pairs; i++) {
      boolean first = i % 2 == 0;
      double one = bench.run(first);
      double other = bench.run(!first);
      ratios.add(Double.toString(first ? one / other : other / one));
    }
    System.out.println("{\"name\": \"metrics.cpu_cost\", \"ratio\": 0, \"samples\": " + ratios + "}");
    System.out.println("{\"name\": \"metrics.quality_cpu_cost\", \"ratio\": " + bench.qualityCost(Math.max(pairs, 5)) + "}");
  }
}
