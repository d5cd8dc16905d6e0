package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.LadderJob;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.RenditionFiles;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.DeviceEvent;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Spec;

/** The options of commands that make a ladder of renditions, and how such a command runs and tells of its work. */
final class LadderOptions {
  // Players want three segments' length to choose from.
  private static final int MIN_HLS_WINDOW = 3;

  @Spec(Spec.Target.MIXEE)
  private CommandSpec spec;

  private Container format;

  @Option(names = "-o", paramLabel = "DIR", description = "Where the renditions go.")
  private Path directory;

  @Mixin private RenditionOptions wanted;

  @Option(
      names = "--hls-window",
      paramLabel = "N",
      description = {
        "For --format hls: playlists that can be played while the work goes on and name the last N segments only;",
        "segments that no player needs any more are deleted. 0, the default for files, makes a recording."
      })
  private Integer hlsWindow;

  @Option(names = "--report", paramLabel = "FILE.json", description = "Write a report, of work that failed too.")
  private Path report;

  @Mixin private WatchOptions watching;

  @Option(
      names = "--overwrite",
      description = "Replace renditions that are there already; without it a terminal is asked, else they stay.")
  private boolean overwrite;

  @Option(names = "--no-contact-sheet", description = "Make no picture of the renditions.")
  private boolean noContactSheet;

  /** What the options say of `input`; refuses what cannot be. `usualWindow` is for a format that takes one. */
  JobSettings.Builder settings(Path input, Container usualFormat, int usualWindow, EncoderList usualEncoders) {
    // Not the parser's affair: it would ask commands below a command for it, too.
    refuse(directory == null, "Missing required option: '-o=DIR'");
    wanted.check(spec.commandLine());
    format = wanted.format(usualFormat);
    if (hlsWindow == null) hlsWindow = format.isFolder() ? usualWindow : 0;
    refuse(
        hlsWindow != 0 && (!format.isFolder() || hlsWindow < MIN_HLS_WINDOW),
        "--hls-window takes " + MIN_HLS_WINDOW + " segments or more, and --format hls");
    Path sheet = noContactSheet ? null : directory.resolve(RenditionFiles.stemOf(input) + "_contact-sheet.png");
    return wanted
        .settings(input, directory, usualFormat, usualEncoders)
        .hlsWindow(hlsWindow)
        .contactSheet(sheet)
        .liveQuality(watching.liveQuality())
        .overwrite(overwrite ? Overwrite.ALWAYS : Console::mayReplace);
  }

  /** Pictures a second as asked for, 0 where none are. */
  double frameRate() {
    return wanted.frameRate();
  }

  /** Refuses options that devices don't take. */
  void refuseThoseOfFiles() {
    refuse(wanted.choosesAudioTrack(), "--audio-track is for files: a device has one");
    refuse(
        wanted.deinterlace() == Deinterlace.DOUBLE,
        "--deinterlace double is for files: of a device's two fields one picture comes");
  }

  private void refuse(boolean wrong, String text) {
    if (wrong) throw new ParameterException(spec.commandLine(), text);
  }

  /** Runs a job with its report and those who watch it; the exit code. */
  int run(LadderJob job, Path input) throws HostException, IOException {
    try (WholeFile file = report == null ? null : WholeFile.create(checkedReport(input));
        WatchOptions.Watchers watchers = watching.open(input)) {
      run(job.watchedBy(watchers), file, watchers);
    }
    return tell(job.result());
  }

  // A report that could not be written would come after hours of work: its place is tried before.
  private Path checkedReport(Path input) throws HostException, IOException {
    if (Files.exists(report) && Files.exists(input) && Files.isSameFile(report, input))
      throw new HostException(report + ": is the input itself");
    return report;
  }

  private static void run(LadderJob job, WholeFile report, WatchOptions.Watchers watchers)
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
    for (DeviceEvent event : result.deviceEvents()) System.err.println("qvs: " + event);
    Console.printLosses(result, format);
    if (result.inputTrouble() == null) return 0;
    System.err.println("qvs: " + result.inputTrouble() + "; the renditions end there");
    return ExitCode.SOFTWARE;
  }
}
