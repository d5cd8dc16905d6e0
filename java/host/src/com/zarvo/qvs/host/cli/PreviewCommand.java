package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.LiveQuality;
import com.zarvo.qvs.host.watch.MetricsServer;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Comparator;
import java.util.concurrent.Callable;
import java.util.concurrent.CountDownLatch;
import java.util.stream.Stream;
import picocli.CommandLine.Command;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

/** "preview": a ladder to be looked at in a browser while it is made. */
@Command(
    name = "preview",
    description = {
      "Makes a live ladder of a file, as fast as it plays, and serves a page that shows it: its renditions to switch",
      "between, and their numbers. Ctrl-C ends it; nothing is left behind."
    },
    sortOptions = false)
final class PreviewCommand implements Callable<Integer> {
  private static final int WINDOW = 10;

  @Spec private CommandSpec spec;
  @ParentCommand private Interruptible main;

  @Parameters(paramLabel = "INPUT", description = "The file to read, a FIFO, or - for standard input.")
  private Path input;

  @Option(
      names = "--port",
      paramLabel = "[HOST:]PORT",
      defaultValue = "0",
      description = "Where the page is, on 127.0.0.1 by default; port 0, the default, picks one. It is told.")
  private String port;

  @Option(
      names = "--live-quality",
      paramLabel = "N[,cpu=PERCENT]",
      defaultValue = "1",
      converter = Converters.OfLiveQuality.class,
      description = "Pictures measured a second, 1 by default, as far as PERCENT of the CPU time (1.5) reaches.")
  private LiveQuality quality;

  @Mixin private RenditionOptions wanted;

  @Override
  public Integer call() throws Exception {
    wanted.check(spec.commandLine());
    if (!wanted.format(Container.HLS).isFolder())
      throw new ParameterException(spec.commandLine(), "a preview is --format hls");
    Interruption interruption = main.listenToSignals();
    Path folder = Files.createTempDirectory("qvs-preview-");
    try (MetricsServer server =
        MetricsServer.openPreview("--port", port, folder, RenditionFiles.stemOf(input) + ".m3u8")) {
      System.err.println("qvs: preview at " + server.root());
      return run(folder, server, interruption);
    } finally {
      delete(folder);
    }
  }

  private int run(Path folder, MetricsServer server, Interruption interruption) throws HostException, IOException {
    JobSettings settings =
        wanted
            .settings(input, folder, Container.HLS, EncoderList.SOFTWARE)
            .hlsWindow(WINDOW)
            .overwrite(Overwrite.ALWAYS)
            .liveQuality(quality)
            .paced(true)
            .build();
    TranscodeJob job = new TranscodeJob(settings, Console::progress, interruption).watchedBy(server::add);
    JobResult result = job.result();
    try {
      job.run();
    } catch (HostException e) {
      // Ended before there was anything to show.
      if (!interruption.requested()) throw e;
      System.err.println("qvs: " + e.getMessage());
      return ExitCode.OK;
    }
    Console.printTrouble(result.log());
    Console.printLosses(result, settings.format());
    if (!interruption.requested()) {
      System.err.println("qvs: the input is over; Ctrl-C ends the preview");
      awaitEnd(interruption);
    }
    if (result.inputTrouble() == null) return ExitCode.OK;
    System.err.println("qvs: " + result.inputTrouble());
    return ExitCode.SOFTWARE;
  }

  private static void awaitEnd(Interruption interruption) {
    CountDownLatch asked = new CountDownLatch(1);
    interruption.onRequest(asked::countDown);
    try {
      asked.await();
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  private static void delete(Path folder) throws IOException {
    try (Stream<Path> paths = Files.walk(folder)) {
      for (Path path : paths.sorted(Comparator.reverseOrder()).toList()) Files.delete(path);
    }
  }
}
