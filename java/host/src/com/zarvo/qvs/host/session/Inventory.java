package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.session.InventoryRow.Kind;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/**
 * What this machine can code with. Every library is loaded in a process of its own only: one that crashes or hangs costs its
 * own entry.
 */
public final class Inventory {
  /** How long a library may take, where nobody says otherwise. */
  public static final Duration DEADLINE = Duration.ofSeconds(5);

  // What starting a process, or a virtual machine, may take beside the libraries' own time.
  private static final Duration START_TIME = Duration.ofSeconds(10);

  // Plug-ins that the transcoder has no row for: a template's, an off-line transcoder's.
  private static final Pattern PLUGIN = Pattern.compile("libqvs-(vencoder|vdecoder)-(.+)\\.so");

  /** A back end with what was found of it. */
  public record Entry(InventoryRow row, Path file, PluginReport report) {}

  private final Path folder;
  private final Path probe;
  private final Duration deadline;

  /** Over the libraries of this process's folder. */
  public Inventory(Duration deadline) throws HostException {
    this.folder = NativeLibraries.directory();
    this.probe = NativeLibraries.probe();
    this.deadline = deadline;
  }

  /** All back ends that the transcoder knows, then what else lies in the folder of its libraries. */
  public List<InventoryRow> rows() {
    Map<String, InventoryRow> others = new TreeMap<>();
    try (Stream<Path> files = Files.list(folder)) {
      files.forEach(file -> addOther(file.getFileName().toString(), others));
    } catch (IOException e) {
      // A folder that can't be listed has no more than what each entry will say of its own library.
    }
    for (InventoryRow row : InventoryRow.KNOWN) others.remove(row.library());
    List<InventoryRow> rows = new ArrayList<>(InventoryRow.KNOWN);
    rows.addAll(others.values());
    return rows;
  }

  private static void addOther(String library, Map<String, InventoryRow> others) {
    Matcher plugin = PLUGIN.matcher(library);
    if (!plugin.matches()) return;
    Kind kind = plugin.group(1).equals("vencoder") ? Kind.ENCODER : Kind.DECODER;
    others.put(library, new InventoryRow(plugin.group(2), kind, "", library, null));
  }

  /** Looks at a back end; with `trial` a session is made and, of an encoder, ten pictures are encoded. */
  public Entry look(InventoryRow row, boolean trial) throws HostException {
    Path file = folder.resolve(row.library());
    return new Entry(row, file, report(row, file, trial));
  }

  private PluginReport report(InventoryRow row, Path file, boolean trial) throws HostException {
    if (Files.notExists(file)) return PluginReport.of(PluginReport.State.MISSING, "library not found in " + folder);
    List<String> command = new ArrayList<>();
    command.addAll(List.of(probe.toString(), trial && !row.isBuiltIn() ? "encode" : "describe", file.toString()));
    command.addAll(List.of("--deadline", Long.toString(deadline.toMillis())));
    if (trial && row.trial() != null)
      command.addAll(
          List.of("--codec", Long.toString(row.trial().id), "--version", Long.toString(row.trial().version)));
    ChildProcess child = ChildProcess.run(command, deadline.plus(START_TIME));
    if (child.code() == -1) return PluginReport.of(PluginReport.State.HUNG, "hung, and its probe with it");
    PluginReport report = PluginReport.parse(child.said());
    return row.isBuiltIn() ? asBuiltIn(report) : report;
  }

  /** The transcoder is no plug-in: what counts is that it can be loaded. */
  private static PluginReport asBuiltIn(PluginReport report) {
    return report.loaded() ? PluginReport.of(PluginReport.State.AVAILABLE, "") : report;
  }

  /** The transcoder's own document on its accelerators, made by a virtual machine of its own. */
  public String document() throws HostException {
    return ownDocument(List.of()).text();
  }

  /** What the transcoder says of NVIDIA's GPUs, by the same document. */
  public GpuReport gpus() throws HostException {
    InventoryDocument document = ownDocument(List.of());
    return GpuReport.parse(document.text(), document.withoutGpu());
  }

  /** What there is of the accelerator cards that have a resource manager, in words; empty where there are none. */
  public String cards() throws HostException {
    return ownDocument(List.of("cards")).text();
  }

  private InventoryDocument ownDocument(List<String> wanted) throws HostException {
    List<String> command = new ArrayList<>();
    command.addAll(
        List.of(
            Path.of(System.getProperty("java.home"), "bin", "java").toString(),
            "-XX:+UseSerialGC",
            "-XX:TieredStopAtLevel=1",
            "-XX:+SuppressFatalErrorMessage",
            "-D" + NativeLibraries.DIRECTORY_PROPERTY + "=" + folder,
            "-cp",
            System.getProperty("java.class.path"),
            InventoryDocument.class.getName()));
    command.addAll(wanted);
    ChildProcess child = ChildProcess.run(command, deadline.plus(START_TIME));
    InventoryDocument document = InventoryDocument.parse(child.said());
    if (child.code() == 0 && document != null) return document;
    String words = child.code() == -1 ? "hung" : document != null ? "failed: " + document.text() : "crashed";
    throw new HostException("the inventory " + words + culprits());
  }

  /** The libraries that crash or hang, behind a colon; or nothing. */
  private String culprits() throws HostException {
    StringBuilder names = new StringBuilder();
    for (InventoryRow row : rows()) {
      PluginReport report = look(row, false).report();
      if (report.state() == PluginReport.State.CRASHED || report.state() == PluginReport.State.HUNG)
        names.append(names.isEmpty() ? ": " : ", ").append(row.library()).append(' ').append(report.reason());
    }
    return names.toString();
  }
}
