package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.job.TranscodeJob;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

/** "transcode": one file in, renditions out. */
@Command(name = "transcode", description = "Turns a file into renditions of its pictures and its sound.", sortOptions = false)
final class TranscodeCommand implements Callable<Integer> {
  // Players want three segments' length to choose from.
  private static final int MIN_HLS_WINDOW = 3;

  @Spec private CommandSpec spec;
  @ParentCommand private Interruptible main;

  @Parameters(
      paramLabel = "INPUT",
      description = {
        "The file to read, in any container. A FIFO, or - for standard input, is read as it comes: its end, or Ctrl-C,",
        "ends the renditions well."
      })
  private Path input;

  @Option(names = "-o", required = true, paramLabel = "DIR", description = "Where the renditions go.")
  private Path directory;

  @Mixin private RenditionOptions wanted;

  @Option(names = "--no-video", description = "Leave pictures out.")
  private boolean noVideo;

  @Option(
      names = "--hls-window",
      paramLabel = "N",
      defaultValue = "0",
      description = {
        "For --format hls: playlists that can be played while the work goes on and name the last N segments only;",
        "segments that no player needs any more are deleted."
      })
  private int hlsWindow;

  @Option(names = "--report", paramLabel = "FILE.json", description = "Write a report, of work that failed too.")
  private Path report;

  @Mixin private WatchOptions watching;

  @Option(
      names = "--overwrite",
      description = "Replace renditions that are there already; without it a terminal is asked, else they stay.")
  private boolean overwrite;

  @Option(names = "--no-contact-sheet", description = "Make no picture of the renditions.")
  private boolean noContactSheet;

  @Override
  public Integer call() throws Exception {
    wanted.check(spec.commandLine());
    if (hlsWindow != 0 && (!wanted.format().isFolder() || hlsWindow < MIN_HLS_WINDOW))
      throw new ParameterException(
          spec.commandLine(), "--hls-window takes " + MIN_HLS_WINDOW + " segments or more, and --format hls");
    Path sheet = noContactSheet ? null : directory.resolve(RenditionFiles.stemOf(input) + "_contact-sheet.png");
    JobSettings settings =
        wanted
            .settings(input, directory)
            .video(!noVideo)
            .hlsWindow(hlsWindow)
            .contactSheet(sheet)
            .overwrite(overwrite ? Overwrite.ALWAYS : Console::mayReplace)
            .build();
    TranscodeJob job = new TranscodeJob(settings, Console::progress, main.listenToSignals());
    try (WholeFile file = report == null ? null : WholeFile.create(checkedReport());
        WatchOptions.Watchers watchers = watching.open(input)) {
      run(job.watchedBy(watchers), file, watchers);
    }
    return tell(job.result());
  }

  // A report that could not be written would come after hours of work: its place is tried before.
  private Path checkedReport() throws HostException, IOException {
    if (Files.exists(report) && Files.exists(input) && Files.isSameFile(report, input))
      throw new HostException(report + ": is the input itself");
    return report;
  }

  private static void run(TranscodeJob job, WholeFile report, WatchOptions.Watchers watchers)
      throws HostException, IOException {
    try {
      job.run();
    } catch (HostException | IOException | RuntimeException e) {
      job.result().failed(Console.explain(e));
      watchers.end(job.result());
      if (report == null) throw e;
      try {
        report.write(job.result().toJson());
      } catch (IOException second) {
        System.err.println("qvs: " + Console.explain(second));
      }
      throw e;
    }
    if (report != null) report.write(job.result().toJson());
    watchers.end(job.result());
  }

  private int tell(JobResult result) {
    Console.printTrouble(result.log());
    Console.printRenditions(result, watching.summary());
    Console.printLosses(result, wanted.format());
    if (result.inputTrouble() == null) return 0;
    System.err.println("qvs: " + result.inputTrouble() + "; the renditions end there");
    return ExitCode.SOFTWARE;
  }
}
