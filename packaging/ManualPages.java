import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import picocli.CommandLine;
import picocli.CommandLine.Help.Ansi;
import picocli.CommandLine.Model.ArgSpec;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Model.OptionSpec;
import picocli.CommandLine.Model.PositionalParamSpec;

/**
 * Writes a manual page for each command that the class of a command line has, out of its options.
 *
 * <pre>java -cp JARS ManualPages.java FOLDER CLASS</pre>
 */
final class ManualPages {
  private final Path folder;
  private final String version;
  private final StringBuilder page = new StringBuilder();

  private ManualPages(Path folder, String version) {
    this.folder = folder;
    this.version = version;
  }

  public static void main(String[] arguments) throws Exception {
    CommandLine commandLine = new CommandLine(Class.forName(arguments[1]));
    Path folder = Files.createDirectories(Path.of(arguments[0]));
    new ManualPages(folder, commandLine.getCommandSpec().version()[0]).writeAll(commandLine);
  }

  private void writeAll(CommandLine commandLine) throws IOException {
    write(commandLine);
    for (CommandLine command : shown(commandLine)) writeAll(command);
  }

  private static List<CommandLine> shown(CommandLine commandLine) {
    List<CommandLine> commands = new ArrayList<>();
    for (CommandLine command : commandLine.getSubcommands().values())
      if (!command.getCommandSpec().usageMessage().hidden() && !commands.contains(command)) commands.add(command);
    return commands;
  }

  private void write(CommandLine commandLine) throws IOException {
    CommandSpec command = commandLine.getCommandSpec();
    String name = pageOf(command);
    String description = words(command.usageMessage().description());
    page.setLength(0);
    line(".TH " + name.toUpperCase() + " 1 \"\" \"qvs " + version + "\" \"User Commands\"");
    line(".SH NAME");
    // The line that whatis shows, without its full stop.
    line(escaped(name) + " \\- " + escaped(description.replaceFirst("\\.$", "")));
    line(".SH SYNOPSIS");
    line(".nh");
    for (String text : commandLine.getHelp().synopsis(0).split("\n")) line(escaped(text.strip()));
    line(".hy");
    for (PositionalParamSpec parameter : command.positionalParameters()) argument(".SH PARAMETERS", parameter);
    for (OptionSpec option : command.options()) argument(".SH OPTIONS", option);
    relatives(commandLine);
    Files.writeString(folder.resolve(name + ".1"), page);
  }

  private void argument(String heading, ArgSpec argument) {
    if (argument.hidden()) return;
    if (page.indexOf("\n" + heading + "\n") < 0) line(heading);
    String label = argument.arity().max() == 0 ? "" : argument.paramLabel();
    String names = argument.isOption() ? String.join(", ", ((OptionSpec) argument).names()) : "";
    line(".TP");
    line((names.isEmpty() ? "" : "\\fB" + escaped(names) + "\\fR ") + (label.isEmpty() ? "" : "\\fI" + escaped(label) + "\\fR"));
    line(escaped(words(argument.description())));
  }

  private void relatives(CommandLine commandLine) {
    List<CommandLine> below = shown(commandLine);
    if (!below.isEmpty()) line(".SH COMMANDS");
    for (CommandLine command : below) {
      line(".TP");
      line("\\fB" + escaped(pageOf(command.getCommandSpec())) + "\\fR(1)");
      line(escaped(words(command.getCommandSpec().usageMessage().description())));
    }
    CommandSpec parent = commandLine.getCommandSpec().parent();
    if (parent == null) return;
    line(".SH SEE ALSO");
    line("\\fB" + escaped(pageOf(parent)) + "\\fR(1)");
  }

  private static String pageOf(CommandSpec command) {
    return command.qualifiedName("-");
  }

  private static String words(String[] lines) {
    return Ansi.OFF.string(String.join(" ", lines)).replace("%n", " ").replace("%%", "%").strip();
  }

  // A dash is a hyphen to roff, and a dot or quote in front a request.
  private static String escaped(String text) {
    String dashed = text.replace("\\", "\\e").replace("-", "\\-");
    return dashed.startsWith(".") || dashed.startsWith("'") ? "\\&" + dashed : dashed;
  }

  private void line(String text) {
    page.append(text).append('\n');
  }
}
