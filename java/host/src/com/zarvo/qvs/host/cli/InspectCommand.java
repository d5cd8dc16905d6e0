package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.GpuReport;
import com.zarvo.qvs.host.session.Inventory;
import com.zarvo.qvs.host.session.InventoryRow;
import com.zarvo.qvs.host.session.PluginReport;
import com.zarvo.qvs.host.session.PluginReport.Description;
import com.zarvo.qvs.host.session.PluginReport.Key;
import com.zarvo.qvs.host.session.PluginReport.State;
import com.zarvo.qvs.host.session.PluginReport.Trial;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.concurrent.Callable;
import java.util.stream.Collectors;
import picocli.CommandLine.Command;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.Parameters;
import picocli.CommandLine.Spec;

/** "inspect": what this machine can code with, and why not with the rest. */
@Command(
    name = "inspect",
    description = {
      "Tells which codecs and back ends this machine has, and in words why another is missing.",
      "Exit code 1: something is at fault; with NAME: none of that name is available."
    })
final class InspectCommand implements Callable<Integer> {
  @Parameters(
      paramLabel = "NAME",
      arity = "0..1",
      description = "Only the back ends of this name (x265, vaapi, software), with the parameter keys of each.")
  private String name;

  @Option(names = "--json", description = "Print the transcoder's own document on its accelerators instead.")
  private boolean json;

  @Option(names = "--probe", description = "Encode ten pictures with each encoder that is available.")
  private boolean trial;

  @Option(
      names = "--deadline",
      paramLabel = "SECONDS",
      defaultValue = "5",
      description = "How long each library may take before it counts as hung (default 5).")
  private double seconds;

  @Spec private CommandSpec spec;

  @Override
  public Integer call() throws Exception {
    if (json && (name != null || trial)) throw usage("--json is the document as it is: it takes no NAME and no --probe");
    if (!(seconds > 0 && seconds <= 3600)) throw usage("--deadline is a number of seconds, up to 3600");
    Inventory inventory = new Inventory(Duration.ofMillis(Math.max(1, Math.round(seconds * 1000))));
    if (json) {
      System.out.println(inventory.document());
      return 0;
    }
    return name == null ? printTable(inventory) : printDetails(inventory);
  }

  private ParameterException usage(String why) {
    return new ParameterException(spec.commandLine(), why);
  }

  private int printTable(Inventory inventory) throws HostException {
    TextTable table = new TextTable("name", "kind", "codecs", "version", "limit", "library", "state");
    boolean isSound = true;
    for (InventoryRow row : inventory.rows()) {
      Inventory.Entry entry = inventory.look(row, trial);
      PluginReport report = entry.report();
      table.add(
          row.name(), row.kind().toString(), codecs(entry), report.version(), limit(report), row.library(), state(entry));
      isSound &= !report.state().isFault() && (report.trial() == null || report.trial().works());
    }
    table.print(System.out);
    // One that crashes or hangs would take the look at the GPUs with it.
    if (isSound) printGpus(inventory.gpus());
    return isSound ? 0 : 1;
  }

  private static void printGpus(GpuReport report) {
    System.out.println();
    if (report.gpus().isEmpty()) {
      System.out.println(TextTable.plain("NVIDIA: " + report.reason()));
      return;
    }
    // The misspelt key is for readers of the document.
    System.out.println(TextTable.plain(report.driver().entrySet().stream()
        .filter(field -> !field.getKey().startsWith("avail") || field.getKey().equals("availableFlags"))
        .map(field -> field.getKey() + " " + field.getValue())
        .collect(Collectors.joining(", ", "NVIDIA: ", ""))));
    TextTable table = new TextTable(report.gpus().get(0).keySet().toArray(String[]::new));
    for (Map<String, String> gpu : report.gpus()) table.add(gpu.values().toArray(String[]::new));
    table.print(System.out);
  }

  private int printDetails(Inventory inventory) throws HostException {
    List<InventoryRow> rows = inventory.rows();
    List<InventoryRow> meant = rows.stream().filter(row -> row.name().equals(name)).toList();
    if (meant.isEmpty()) {
      String known = rows.stream().map(InventoryRow::name).distinct().collect(Collectors.joining(", "));
      throw usage("no back end is called '" + name + "', there are " + known);
    }
    boolean anyWorks = false;
    List<Key> keys = List.of();
    for (InventoryRow row : meant) {
      Inventory.Entry entry = inventory.look(row, trial);
      PluginReport report = entry.report();
      if (row != meant.get(0)) System.out.println();
      print(entry);
      keys = printKeys(report.description(), keys);
      anyWorks |= report.state() == State.AVAILABLE && (report.trial() == null || report.trial().works());
    }
    if (name.equals(EncoderBackend.U30.label)) {
      String cards = inventory.cards();
      printLine("cards", cards.isEmpty() ? "none" : cards);
    }
    return anyWorks ? 0 : 1;
  }

  private static void print(Inventory.Entry entry) {
    PluginReport report = entry.report();
    Description description = report.description();
    System.out.println(TextTable.plain(entry.row().name() + ": " + entry.row().kind() + ", " + state(entry)));
    printLine("codecs", codecs(entry));
    printLine("library", entry.file().toString());
    printLine("version", (report.version() + " " + report.versionText()).strip());
    printLine("limit", limit(report));
    if (description != null) printLine("stands on", description.standsOn());
  }

  /** The keys of a plug-in, but for those that have been printed just now. Gives what has. */
  private static List<Key> printKeys(Description description, List<Key> printed) {
    if (description == null || description.keys().isEmpty()) return printed;
    if (description.keys().equals(printed)) {
      printLine("keys", "as above");
      return printed;
    }
    TextTable table = new TextTable("key", "name", "type", "range", "default", "what it does");
    for (Key key : description.keys())
      table.add(key.number(), key.name(), key.type(), key.low() + " to " + key.high(), key.initial(), key.does());
    table.print(System.out);
    return description.keys();
  }

  private static void printLine(String what, String value) {
    if (!value.isEmpty()) System.out.printf("  %-10s %s%n", what, TextTable.plain(value));
  }

  private static String codecs(Inventory.Entry entry) {
    Description description = entry.report().description();
    if (!entry.row().codecs().isEmpty() || description == null) return entry.row().codecs();
    return String.join(", ", description.codecs());
  }

  private static String limit(PluginReport report) {
    Description description = report.description();
    if (description == null || description.maxWidth() == 0) return "";
    return description.maxWidth() + "x" + description.maxHeight();
  }

  private static String state(Inventory.Entry entry) {
    PluginReport report = entry.report();
    List<String> words = new ArrayList<>();
    if (entry.row().isBuiltIn() && report.state() == State.AVAILABLE) words.add("built in");
    // A crash or a hang says itself what it was.
    else if (report.state() != State.CRASHED && report.state() != State.HUNG)
      words.add(report.state().name().toLowerCase(Locale.ROOT));
    if (!report.reason().isEmpty()) words.add(report.reason());
    if (report.trial() == null) return String.join(": ", words);
    List<String> refused = report.trial().refused();
    return String.join(": ", words)
        + ", "
        + outcome(report.trial())
        + (refused.isEmpty() ? "" : ", refuses " + String.join(", ", refused));
  }

  private static String outcome(Trial trial) {
    if (!trial.works()) return "but " + trial.failedIn() + " failed: " + trial.reason();
    if (!trial.encodes()) return "opens";
    return String.format(
        Locale.ROOT, "%d frames, %d bytes in %.0f ms", trial.frames(), trial.bytes(), trial.milliseconds());
  }
}
