package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.media.Interruption;
import java.util.Set;
import picocli.CommandLine;
import picocli.CommandLine.Command;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.ScopeType;

/**
 * The command line. Needs the native libraries in the folder that -Dqvs.library.dir names; the build writes a script
 * "qvs-host" into its folder that starts the virtual machine so:
 *
 * <pre>java -Dqvs.library.dir=BUILD/lib -cp BUILD/java/qvs-host.jar:BUILD/java/qvs-transcoder.jar:picocli.jar
 * com.zarvo.qvs.host.cli.Main COMMAND ...</pre>
 */
@Command(
    name = "qvs",
    description = "Turns video files into ladders of renditions.",
    version = "0.1.0",
    mixinStandardHelpOptions = true,
    scope = ScopeType.INHERIT,
    subcommands = {
      TranscodeCommand.class,
      PreviewCommand.class,
      CaptureCommand.class,
      VodCommand.class,
      VodTaskCommand.class,
      DecodeCommand.class,
      ThumbsCommand.class,
      InspectCommand.class,
      DemoCommand.class,
      SoakCommand.class,
      ReplayCommand.class,
      ConformanceCommand.class
    })
public final class Main implements Interruptible {

  /** Commands that are sure to need the native libraries. */
  private static final Set<String> NATIVE = Set.of("transcode", "capture");

  private final Interruption interruption = new Interruption();

  private Main() {}

  public static void main(String[] arguments) {
    System.exit(run(arguments));
  }

  /** Runs a command. Trouble is told in one line on standard error; the result is the exit code. */
  static int run(String... arguments) {
    System.setProperty("java.awt.headless", "true");
    if (arguments.length == 0) arguments = new String[] {"--help"};
    Main main = new Main();
    try (main.interruption;
        WarmUp warmUp = WarmUp.start(NATIVE.contains(arguments[0]))) {
      CommandLine commandLine = commandLine(main, arguments[0]);
      commandLine.setParameterExceptionHandler((e, given) -> fail(warmUp, e.getMessage(), CommandLine.ExitCode.USAGE));
      commandLine.setExecutionExceptionHandler(
          (e, command, parsed) -> fail(warmUp, Console.explain(e), CommandLine.ExitCode.SOFTWARE));
      return commandLine.execute(arguments);
    } catch (OutOfMemoryError e) {
      return fail("out of memory", CommandLine.ExitCode.SOFTWARE);
    }
  }

  // Reading the options of all commands takes longer than a command needs to start: only those of the named one are.
  private static CommandLine commandLine(Main main, String name) {
    Command whole = Main.class.getAnnotation(Command.class);
    for (Class<?> command : whole.subcommands()) {
      if (!command.getAnnotation(Command.class).name().equals(name)) continue;
      CommandSpec root = CommandSpec.wrapWithoutInspection(main).name(whole.name()).version(whole.version());
      root.scopeType(whole.scope()).mixinStandardHelpOptions(true);
      return new CommandLine(root).addSubcommand(name, command);
    }
    return new CommandLine(main);
  }

  // While the libraries start up, standard error is silenced.
  private static int fail(WarmUp warmUp, String line, int code) {
    warmUp.close();
    return fail(line, code);
  }

  @Override
  public Interruption listenToSignals() {
    interruption.listen();
    return interruption;
  }

  private static int fail(String line, int code) {
    System.err.println("qvs: " + (line == null ? "failed" : line.replace('\n', ' ')));
    return code;
  }
}
