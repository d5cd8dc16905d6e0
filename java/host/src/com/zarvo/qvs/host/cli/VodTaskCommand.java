package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.vod.VodWorker;
import com.zarvo.qvs.host.vod.WorkFolder;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.Callable;
import java.util.concurrent.LinkedBlockingQueue;
import picocli.CommandLine;
import picocli.CommandLine.Command;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "vod-task": what a worker of "vod" runs: a task, some, or those that its starter names. */
@Command(name = "vod-task", hidden = true, description = "Does tasks of a run of vod.")
final class VodTaskCommand implements Callable<Integer> {
  @Parameters(index = "0", paramLabel = "FOLDER", description = "The work folder of the run.")
  private Path folder;

  @Parameters(index = "1..*", arity = "0..*", paramLabel = "TASK", description = "The tasks' numbers, from 0.")
  private List<Integer> tasks = List.of();

  @Option(names = "--tethered", description = "Take tasks from standard input, a line each, and end when it does.")
  private boolean tethered;

  @Override
  public Integer call() throws Exception {
    if (tethered) VodWorker.follow(WorkFolder.at(folder), starter(), VodTaskCommand::settings);
    else VodWorker.run(WorkFolder.at(folder), tasks, VodTaskCommand::settings);
    return 0;
  }

  private static JobSettings settings(List<String> arguments, Path input, Path directory) {
    RenditionOptions options = new RenditionOptions();
    CommandLine commandLine = new CommandLine(options);
    commandLine.parseArgs(arguments.toArray(new String[0]));
    return options.settings(input, directory, Container.MP4, EncoderList.SOFTWARE).build();
  }

  // What the starter begins again must not run twice for longer than it takes to notice.
  private static BlockingQueue<Integer> starter() {
    BlockingQueue<Integer> named = new LinkedBlockingQueue<>();
    Thread thread =
        new Thread(
            () -> {
              try (BufferedReader lines =
                  new BufferedReader(new InputStreamReader(System.in, StandardCharsets.US_ASCII))) {
                for (String line = lines.readLine(); line != null; line = lines.readLine())
                  named.add(Integer.valueOf(line));
              } catch (IOException | NumberFormatException e) {
                System.err.println("qvs: " + e.getMessage());
              }
              Runtime.getRuntime().halt(ExitCode.SOFTWARE);
            },
            "starter");
    thread.setDaemon(true);
    thread.start();
    return named;
  }
}
