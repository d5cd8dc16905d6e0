package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.LiveQuality;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.watch.MetricsServer;
import com.zarvo.qvs.host.watch.ProgressLines;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.function.Consumer;
import picocli.CommandLine.Option;

/** The options that let others watch the work, and what serves them while it goes on. */
final class WatchOptions {
  @Option(
      names = "--progress",
      paramLabel = "FILE|-",
      description = {
        "Write a line of JSON a second on how far the work is, and a last one on how it ended; with - to standard",
        "output, where nothing else goes then."
      })
  private String progress;

  @Option(
      names = "--metrics",
      paramLabel = "[HOST:]PORT",
      description = {
        "Serve the numbers of the work over HTTP while it goes on, on 127.0.0.1 by default: /metrics for Prometheus,",
        "/sessions/ID as JSON, /sessions/ID/graph.svg as a picture. Port 0 picks one, which is told."
      })
  private String metrics;

  @Option(
      names = "--live-quality",
      arity = "0..1",
      fallbackValue = "1",
      paramLabel = "N[,cpu=PERCENT]",
      converter = Converters.OfLiveQuality.class,
      description = {
        "Measure PSNR and SSIM of renditions against what went into their encoders, of N pictures a second at most, 1",
        "without a number, and only so many as PERCENT of the CPU time (1.5) reaches for. Report and --metrics tell them."
      })
  private LiveQuality quality;

  /** How closely quality is watched, null for not at all. */
  LiveQuality liveQuality() {
    return quality;
  }

  /** Where the summary of the work goes. */
  PrintStream summary() {
    return ProgressLines.STANDARD_OUTPUT.equals(progress) ? System.err : System.out;
  }

  /** Begins to serve those who watch; a port in use, or a file that cannot be written, fails here. */
  Watchers open(Path input) throws HostException, IOException {
    MetricsServer server = metrics == null ? null : MetricsServer.open(metrics);
    boolean ready = false;
    try {
      ProgressLines lines = progress == null ? null : openLines(input);
      if (server != null) System.err.println("qvs: metrics at " + server.url());
      ready = true;
      return new Watchers(server, lines);
    } finally {
      if (!ready && server != null) server.close();
    }
  }

  private ProgressLines openLines(Path input) throws HostException, IOException {
    Path file = Path.of(progress);
    if (Files.exists(file) && Files.exists(input) && Files.isSameFile(file, input))
      throw new HostException("--progress " + progress + ": is the input itself");
    try {
      return ProgressLines.open(progress, System.out, System.err);
    } catch (IOException e) {
      throw new HostException("--progress " + e.getMessage());
    }
  }

  /** Those who watch a job, until they are closed. */
  record Watchers(MetricsServer server, ProgressLines lines) implements Consumer<SessionCounters>, AutoCloseable {
    @Override
    public void accept(SessionCounters session) {
      if (server != null) server.add(session);
      if (lines != null) lines.watch(session);
    }

    /** The job has ended so. */
    void end(JobResult result) {
      if (lines != null) lines.end(result);
    }

    @Override
    public void close() throws IOException {
      if (server != null) server.close();
      if (lines != null) lines.close();
    }
  }
}
