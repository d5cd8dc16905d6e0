package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.Overwrite;
import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.vod.KubernetesJob;
import com.zarvo.qvs.host.vod.VodJob;
import com.zarvo.qvs.host.vod.VodReport;
import com.zarvo.qvs.host.vod.VodSettings;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import picocli.CommandLine.ArgGroup;
import picocli.CommandLine.Command;
import picocli.CommandLine.ExitCode;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Model.OptionSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

/** "vod": one long file in, renditions out, by many workers. */
@Command(
    name = "vod",
    description = "Turns a long file into renditions by many workers, here or in a Slurm cluster, to the same bytes.",
    sortOptions = false)
final class VodCommand implements Callable<Integer> {
  private static final double MIN_CHUNK = 1;
  private static final double MAX_CHUNK = 86_400;
  private static final int MAX_WORKERS = 1000;
  private static final String KUBERNETES = "k8s";

  @Spec private CommandSpec spec;
  @ParentCommand private Interruptible main;

  @Parameters(paramLabel = "FILE", description = "The file to read; it has to be one that can be read from anywhere.")
  private Path input;

  @Option(names = "-o", required = true, paramLabel = "DIR", description = "Where the renditions go.")
  private Path directory;

  @Option(
      names = "--chunk",
      paramLabel = "SECONDS",
      defaultValue = "60",
      description = "About how long a chunk is, 60 by default; it begins at the nearest key picture.")
  private double chunkSeconds;

  @ArgGroup private Where where = new Where();

  /** Either of these. */
  static final class Where {
    @Option(names = "--workers", paramLabel = "N", description = "Processes on this machine; as many as it has cores.")
    private int workers = Runtime.getRuntime().availableProcessors();

    @Option(names = "--slurm", description = "Let a Slurm cluster do it: by sbatch, on nodes that share the files.")
    private boolean slurm;
  }

  @Option(names = "--partition", paramLabel = "P", description = "For --slurm: the partition to go to.")
  private String partition;

  @Option(
      names = "--sbatch",
      paramLabel = "OPTION",
      description = "For --slurm: a further option for sbatch, e.g. --sbatch=--mem=2G. May be given again.")
  private List<String> sbatch = new ArrayList<>();

  @Option(
      names = "--batch",
      paramLabel = "N",
      defaultValue = "1",
      description = "For --slurm: how many chunks one of its tasks takes, one after the other; 1 by default.")
  private int batch;

  @Option(
      names = "--patience",
      paramLabel = "SECONDS",
      defaultValue = "600",
      description = "For --slurm: how long its controller may not answer, 600 by default.")
  private int patience;

  @Option(
      names = "--tries",
      paramLabel = "N",
      defaultValue = "3",
      description = "Of a task until the run fails, 3 by default.")
  private int tries;

  @Option(names = "--resume", description = "Go on with a run that did not end, with the same options.")
  private boolean resume;

  @Option(
      names = "--keep",
      description = "Leave the work folder DIR/NAME.vod when all is done: chunks, manifest and all.")
  private boolean keep;

  @Option(
      names = "--print",
      paramLabel = KUBERNETES,
      description = "Only plan, and print a Job for Kubernetes whose workers do the rest; --resume then joins.")
  private String print;

  @Mixin private RenditionOptions wanted;

  @Option(names = "--report", paramLabel = "FILE.json", description = "Write a report, of work that failed too.")
  private Path report;

  @Option(
      names = "--overwrite",
      description = "Replace renditions that are there already, and a run that did not end.")
  private boolean overwrite;

  @Override
  public Integer call() throws Exception {
    check();
    JobSettings job =
        wanted
            .settings(input, directory, Container.MP4, EncoderList.SOFTWARE)
            .overwrite(overwrite ? Overwrite.ALWAYS : Console::mayReplace)
            .build();
    VodSettings.Slurm slurm =
        where.slurm ? new VodSettings.Slurm(partition, List.copyOf(sbatch), batch, patience) : null;
    VodSettings settings =
        new VodSettings(
            job, renditionArguments(), chunkSeconds, where.workers, slurm, tries, resume, overwrite && !resume, keep,
            workerCommand());
    VodJob run = new VodJob(settings, Console::progress, main.listenToSignals());
    if (print != null) {
      System.out.print(KubernetesJob.text(run.plan(), where.workers));
      return 0;
    }
    try (WholeFile file = report == null ? null : WholeFile.create(checkedReport())) {
      run(run, file);
    }
    return tell(run.report());
  }

  private void check() {
    wanted.check(spec.commandLine());
    if (!(chunkSeconds >= MIN_CHUNK && chunkSeconds <= MAX_CHUNK)) refuse("--chunk is outside 1 to 86400 seconds");
    if (where.workers < 1 || where.workers > MAX_WORKERS) refuse("--workers is outside 1 to " + MAX_WORKERS);
    if (tries < 1) refuse("--tries must be above 0");
    if (patience < 1) refuse("--patience must be above 0");
    if (batch < 1) refuse("--batch must be above 0");
    if (!where.slurm && (partition != null || !sbatch.isEmpty() || batch > 1))
      refuse("--partition, --sbatch and --batch go with --slurm");
    if (print != null && !print.equals(KUBERNETES)) refuse("--print takes " + KUBERNETES);
    Container format = wanted.format(Container.MP4);
    if (!format.holdsVideo())
      refuse("--format " + format.label() + " holds no pictures, which alone are cut: take transcode");
  }

  private void refuse(String why) {
    throw new ParameterException(spec.commandLine(), why);
  }

  /** The options that workers need, as they were given. */
  private List<String> renditionArguments() {
    List<String> arguments = new ArrayList<>();
    for (OptionSpec option : spec.commandLine().getParseResult().matchedOptions()) {
      if (spec.mixins().values().stream().noneMatch(mixin -> mixin.findOption(option.longestName()) != null)) continue;
      if (option.arity().max() == 0) arguments.add(option.longestName());
      else for (String value : option.originalStringValues()) arguments.add(option.longestName() + "=" + value);
    }
    return arguments;
  }

  // The compiler that thinks longest pays in hours, not in a chunk.
  private List<String> workerCommand() {
    String libraries = NativeLibraries.DIRECTORY_PROPERTY;
    return List.of(
        Path.of(System.getProperty("java.home"), "bin", "java").toString(),
        "-XX:+UseSerialGC",
        "-XX:TieredStopAtLevel=1",
        "-XX:-UsePerfData",
        "-D" + libraries + "=" + System.getProperty(libraries),
        "-cp",
        System.getProperty("java.class.path"),
        spec.root().userObject().getClass().getName(),
        "vod-task");
  }

  private Path checkedReport() throws HostException, IOException {
    if (Files.exists(report) && Files.exists(input) && Files.isSameFile(report, input))
      throw new HostException(report + ": is the input itself");
    return report;
  }

  private static void run(VodJob job, WholeFile report) throws HostException, IOException {
    try {
      job.run();
    } catch (HostException | IOException | RuntimeException e) {
      job.report().result().failed(Console.explain(e));
      if (report == null) throw e;
      try {
        report.write(job.report().toJson());
      } catch (IOException second) {
        System.err.println("qvs: " + Console.explain(second));
      }
      throw e;
    }
    if (report != null) report.write(job.report().toJson());
  }

  private int tell(VodReport report) {
    JobResult result = report.result();
    for (String line : report.trouble()) System.err.println("qvs: " + line);
    if (report.note() != null) System.err.println("qvs: " + report.note());
    if (report.leftOut() != null) System.err.println("qvs: sound is left out: " + report.leftOut());
    Console.printRenditions(result, System.out);
    Console.printLosses(result, wanted.format(Container.MP4));
    if (result.inputTrouble() == null) return 0;
    System.err.println("qvs: " + result.inputTrouble() + "; the renditions end there");
    return ExitCode.SOFTWARE;
  }
}
