package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.CaptureJob;
import com.zarvo.qvs.host.job.CaptureStage;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import java.nio.file.Path;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

/** "capture": a capture device in, renditions out, until somebody ends it. */
@Command(
    name = "capture",
    description = "Turns what a capture device gives into renditions; Ctrl-C ends them well.",
    sortOptions = false,
    subcommands = {CaptureListCommand.class, CaptureMakeCommand.class, CaptureShotCommand.class})
final class CaptureCommand implements Callable<Integer>, Interruptible {
  private static final int USUAL_WINDOW = 6;

  @Spec private CommandSpec spec;
  @ParentCommand private Interruptible main;

  @Parameters(
      arity = "0..1",
      paramLabel = "DEVICE",
      description = "A name of \"capture list\", or a capture directory as \"capture make\" makes it.")
  private String device;

  @Mixin private LadderOptions ladder;

  @Option(
      names = "--devices",
      paramLabel = "DIR",
      defaultValue = ".",
      description = "Where file devices are: DIR/capture/capture0, DIR/capture/capture1 ...; here by default.")
  private Path devices;

  @Option(
      names = "--slate",
      paramLabel = "DIR",
      description = "A capture directory whose pictures are shown while the device has no signal; else they are black.")
  private Path slate;

  @Option(names = "--mode", paramLabel = "NAME", description = "What comes in, by the device's list; else it finds it.")
  private String mode;

  @Option(names = "--duration", paramLabel = "SECONDS", description = "End by itself after so long.")
  private Double seconds;

  @Option(names = "--no-captions", description = "Leave captions out; else they go into H.264 and H.265 renditions.")
  private boolean noCaptions;

  @Override
  public Integer call() throws Exception {
    if (device == null) throw new ParameterException(spec.commandLine(), "Missing required parameter: 'DEVICE'");
    if (seconds != null && !(seconds > 0)) throw new ParameterException(spec.commandLine(), "--duration must be above 0");
    ladder.refuseThoseOfFiles();
    Path name = Path.of(fileName(device));
    JobSettings.Builder settings = ladder.settings(name, Container.HLS, USUAL_WINDOW, EncoderList.SOFTWARE);
    if (seconds != null) settings.maxMilliseconds(Math.round(seconds * 1000));
    Interruption interruption = main.listenToSignals();
    try (CaptureStage stage = CaptureStage.open(device, devices, slate)) {
      CaptureJob job = new CaptureJob(settings.build(), stage, mode, !noCaptions, Console::progress, interruption);
      return ladder.run(job, name);
    }
  }

  // Players would take a colon in a playlist's names for the end of a protocol's.
  private static String fileName(String device) {
    String last = device.replaceAll("/+$", "").replaceAll(".*/", "");
    return last.replaceAll("[^A-Za-z0-9._]+", "-").replaceAll("^-|-$", "");
  }

  @Override
  public Interruption listenToSignals() {
    return main.listenToSignals();
  }
}
