package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.media.Interruption;
import picocli.CommandLine;
import picocli.CommandLine.Command;
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
    CommandLine commandLine = new CommandLine(main);
    commandLine.setParameterExceptionHandler((e, given) -> fail(e.getMessage(), CommandLine.ExitCode.USAGE));
    commandLine.setExecutionExceptionHandler((e, command, parsed) -> fail(Console.explain(e), CommandLine.ExitCode.SOFTWARE));
    try (main.interruption) {
      return commandLine.execute(arguments);
    } catch (OutOfMemoryError e) {
      return fail("out of memory", CommandLine.ExitCode.SOFTWARE);
    }
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
