package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.CaptureMaker;
import java.nio.file.Path;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

/** "capture make": a media file in, a capture directory out. */
@Command(
    name = "make",
    description = "Makes a media file into a capture directory: raw pictures, WAV, info.properties.",
    sortOptions = false)
final class CaptureMakeCommand implements Callable<Integer> {
  @Spec private CommandSpec spec;
  @ParentCommand private Interruptible main;

  @Parameters(index = "0", paramLabel = "FILE", description = "The file to read, in any container.")
  private Path input;

  @Parameters(index = "1", paramLabel = "DIR", description = "The capture directory, e.g. capture/capture0.")
  private Path directory;

  @Option(names = "--duration", paramLabel = "SECONDS", description = "Take no more: raw pictures need a lot of room.")
  private Double seconds;

  @Option(names = "--overwrite", description = "Replace a capture directory that is there already.")
  private boolean overwrite;

  @Override
  public Integer call() throws Exception {
    if (seconds != null && !(seconds > 0)) throw new ParameterException(spec.commandLine(), "--duration must be above 0");
    double most = seconds == null ? Double.MAX_VALUE : seconds;
    CaptureMaker maker = new CaptureMaker(input, directory, most, main.listenToSignals());
    System.out.println(maker.run(overwrite, Console::progress));
    return 0;
  }
}
