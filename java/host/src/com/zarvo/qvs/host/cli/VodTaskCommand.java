package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.vod.VodWorker;
import com.zarvo.qvs.host.vod.WorkFolder;
import java.io.IOException;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine;
import picocli.CommandLine.Command;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "vod-task": what a worker of "vod" runs. */
@Command(name = "vod-task", hidden = true, description = "Does one task of a run of vod.")
final class VodTaskCommand implements Callable<Integer> {
  @Parameters(index = "0", paramLabel = "FOLDER", description = "The work folder of the run.")
  private Path folder;

  @Parameters(index = "1", paramLabel = "TASK", description = "The task's number, from 0.")
  private int task;

  @Option(names = "--tethered", description = "End when standard input does.")
  private boolean tethered;

  @Override
  public Integer call() throws Exception {
    if (tethered) followStarter();
    VodWorker.run(WorkFolder.at(folder), task, VodTaskCommand::settings);
    return 0;
  }

  private static JobSettings settings(List<String> arguments, Path input, Path directory) {
    RenditionOptions options = new RenditionOptions();
    CommandLine commandLine = new CommandLine(options);
    commandLine.parseArgs(arguments.toArray(new String[0]));
    return options.settings(input, directory, Container.MP4, EncoderList.SOFTWARE).build();
  }

  // What the starter begins again must not run twice for longer than it takes to notice.
  private static void followStarter() {
    Thread thread =
        new Thread(
            () -> {
              try {
                while (System.in.read() >= 0) continue;
              } catch (IOException e) {
                System.err.println("qvs: " + e.getMessage());
              }
              Runtime.getRuntime().halt(ExitCode.SOFTWARE);
            },
            "starter");
    thread.setDaemon(true);
    thread.start();
  }
}
