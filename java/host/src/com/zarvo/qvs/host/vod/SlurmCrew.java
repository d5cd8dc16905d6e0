package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Deque;
import java.util.HashMap;
import java.util.HashSet;
import java.util.Iterator;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.regex.Pattern;
import java.util.stream.Collectors;

/**
 * The nodes of a Slurm cluster, by its own commands. Its controller may roll back by some seconds, forget tasks and repeat
 * others, so it is asked for one thing alone: what it still has in its queue. What it hasn't, and what has no result, is
 * submitted again by whoever owns the tasks.
 */
final class SlurmCrew implements Crew {
  private static final long PAUSE_MS = 1000;
  // From the end of a task until its result shows on this machine, and from a submission until it is queued.
  private static final long GRACE_NS = 5_000_000_000L;
  private static final int MOST_TASKS = 1000;
  private static final String HELD = "held";
  // A star behind it says that the node does not answer.
  private static final Pattern USABLE = Pattern.compile("^(idle|mix|alloc|comp|plnd|resv)[^* ]* ");

  private final VodSettings.Slurm settings;
  private final WorkFolder folder;
  private final Manifest manifest;
  private final List<String> command;
  private final SlurmTool tool;
  private final String prefix;
  private final int mostTasks;
  private final Map<Integer, Long> seenNs = new HashMap<>();
  private final Map<Integer, String> queuedIn = new HashMap<>();
  private final Set<String> bad = new HashSet<>();
  private boolean running;
  private long stuckNs = System.nanoTime();

  /** Finds what a former controller of this run has left in the queue. */
  SlurmCrew(VodSettings settings, WorkFolder folder, Manifest manifest) throws HostException, IOException {
    this.settings = settings.slurm();
    this.folder = folder;
    this.manifest = manifest;
    this.command = settings.workerCommand();
    this.prefix = "qvs-" + manifest.run + "-";
    this.tool = new SlurmTool(this.settings.patienceSeconds());
    this.mostTasks = Math.min(MOST_TASKS, Math.max(1, tool.maxArraySize() - 1));
  }

  @Override
  public void take(Deque<Integer> waiting) throws HostException, IOException {
    dropQueued(waiting);
    while (!waiting.isEmpty()) {
      List<List<Integer>> batches = new ArrayList<>();
      while (!waiting.isEmpty() && batches.size() < mostTasks) batches.add(batch(waiting));
      if (submit(batches)) continue;
      for (int i = batches.size() - 1; i >= 0; i--)
        for (int k = batches.get(i).size() - 1; k >= 0; k--) waiting.addFirst(batches.get(i).get(k));
      return;
    }
  }

  // The sound is long, and what has failed may take down what it shares a process with: both go alone.
  private List<Integer> batch(Deque<Integer> waiting) {
    List<Integer> batch = new ArrayList<>(List.of(waiting.remove()));
    while (goesWithOthers(batch.get(0)) && batch.size() < settings.batch() && !waiting.isEmpty()
        && goesWithOthers(waiting.peek())) batch.add(waiting.remove());
    return batch;
  }

  private boolean goesWithOthers(int task) {
    return !manifest.plan.isSound(task) && manifest.tasks.get(task).tries == 0;
  }

  // What a former controller submitted is at work already.
  private void dropQueued(Deque<Integer> waiting) throws HostException, IOException {
    Set<Integer> queued = queued();
    if (queued == null) return;
    for (Iterator<Integer> each = waiting.iterator(); each.hasNext(); ) {
      int task = each.next();
      if (!queued.contains(task)) continue;
      each.remove();
      seenNs.put(task, System.nanoTime());
    }
  }

  /** False where the queue does not answer now. */
  private boolean submit(List<List<Integer>> batches) throws HostException, IOException {
    String number = Integer.toString(++manifest.submissions);
    folder.save(manifest);
    Files.write(list(number), batches.stream().map(SlurmCrew::line).toList());
    Path script = folder.submissions().resolve(number + ".sh");
    Files.writeString(script, script(number));
    List<String> sbatch = new ArrayList<>(List.of("sbatch", "--parsable", "--requeue", "--open-mode=append"));
    sbatch.add("--job-name=" + prefix + number);
    sbatch.add("--array=0-" + (batches.size() - 1));
    sbatch.add("--chdir=" + manifest.workingDirectory);
    sbatch.add("--output=" + folder.logs().toAbsolutePath().resolve("slurm-" + number + "-%a.txt"));
    if (settings.partition() != null) sbatch.add("--partition=" + settings.partition());
    String avoided = avoided();
    if (!avoided.isEmpty()) sbatch.add("--exclude=" + avoided);
    sbatch.addAll(settings.options());
    sbatch.add(script.toAbsolutePath().toString());
    if (tool.run(sbatch) == null) return false;
    for (List<Integer> batch : batches) for (int task : batch) seenNs.put(task, System.nanoTime());
    return true;
  }

  private static String line(List<Integer> batch) {
    return batch.stream().map(String::valueOf).collect(Collectors.joining(" "));
  }

  private Path list(String number) {
    return folder.submissions().resolve(number + ".txt");
  }

  private String script(String number) {
    String root = quoted(folder.root().toAbsolutePath().toString());
    String words = command.stream().map(SlurmCrew::quoted).collect(Collectors.joining(" "));
    String line = "$(sed -n \"$((SLURM_ARRAY_TASK_ID + 1))p\" " + quoted(list(number).toAbsolutePath().toString()) + ")";
    return "#!/bin/sh\nexport LC_ALL=C.UTF-8\nexec " + words + " " + root + " " + line + "\n";
  }

  private static String quoted(String word) {
    return "'" + word.replace("'", "'\\''") + "'";
  }

  // A machine on which tasks fail, as with a full disk, would take all the others too.
  private String avoided() throws HostException {
    if (bad.isEmpty()) return "";
    String nodes = tool.run(nodesCommand());
    if (nodes == null || bad.containsAll(nodes.lines().map(String::strip).toList())) return "";
    return String.join(",", bad);
  }

  private List<String> nodesCommand() {
    List<String> words = new ArrayList<>(List.of("sinfo", "-h", "-N", "-o", "%N"));
    if (settings.partition() != null) words.add("--partition=" + settings.partition());
    return words;
  }

  @Override
  public void failedOn(String machine) {
    bad.add(machine);
  }

  @Override
  public List<Ended> ended() throws HostException, IOException {
    List<Ended> ended = new ArrayList<>();
    Set<Integer> queued = queued();
    if (queued == null) return ended;
    if (running || queued.isEmpty()) stuckNs = System.nanoTime();
    else checkNodes();
    long now = System.nanoTime();
    for (Iterator<Map.Entry<Integer, Long>> each = seenNs.entrySet().iterator(); each.hasNext(); ) {
      Map.Entry<Integer, Long> task = each.next();
      if (queued.contains(task.getKey())) task.setValue(now);
      else if (now - task.getValue() > GRACE_NS || folder.result(task.getKey()) != null) {
        each.remove();
        ended.add(new Ended(task.getKey(), "it is no more in the queue of Slurm"));
      }
    }
    return ended;
  }

  // After a controller has rolled back, numbers of jobs come twice and Slurm takes the nodes out: only people put them back.
  private void checkNodes() throws HostException {
    if (System.nanoTime() - stuckNs < settings.patienceSeconds() * 1_000_000_000L) return;
    List<String> words = new ArrayList<>(nodesCommand());
    words.set(words.indexOf("%N"), "%t %N %E");
    String nodes = tool.run(words);
    if (nodes == null || nodes.lines().anyMatch(line -> USABLE.matcher(line).find())) stuckNs = System.nanoTime();
    else
      throw new HostException(
          "no node of Slurm has been able to work for " + settings.patienceSeconds() + " s ("
              + nodes.lines().findFirst().orElse("there is none") + "); --resume goes on with what is done");
  }

  /** Tasks of this run in the queue that will run or do; null where it does not answer now. */
  private Set<Integer> queued() throws HostException, IOException {
    String said =
        tool.run(List.of("squeue", "-h", "-r", "-u", System.getProperty("user.name"), "-o", "%j|%K|%F|%T|%r"));
    if (said == null) return null;
    running = false;
    Set<Integer> tasks = new HashSet<>();
    Map<String, List<String>> lists = new HashMap<>();
    for (String line : said.lines().toList()) {
      String[] parts = line.split("\\|", 5);
      if (parts.length < 5 || !parts[0].startsWith(prefix) || !parts[1].matches("\\d+")) continue;
      if (parts[3].equals("PENDING") && parts[4].toLowerCase(java.util.Locale.ROOT).contains(HELD)) {
        tool.run(List.of("scancel", parts[2] + "_" + parts[1]));
        continue;
      }
      running |= !parts[3].equals("PENDING");
      String number = parts[0].substring(prefix.length());
      if (!lists.containsKey(number))
        lists.put(number, Files.exists(list(number)) ? Files.readAllLines(list(number)) : List.of());
      int at = Integer.parseInt(parts[1]);
      if (at >= lists.get(number).size()) continue;
      for (String task : lists.get(number).get(at).split(" ")) tasks.add(Integer.valueOf(task));
    }
    return tasks;
  }

  @Override
  public long pauseMs() {
    return PAUSE_MS;
  }

  @Override
  public String label() {
    return "Slurm" + (settings.partition() == null ? "" : ", partition " + settings.partition());
  }

  @Override
  public void close() {
    if (seenNs.isEmpty()) return;
    for (int i = 1; i <= manifest.submissions; i++) tool.tryToRun(List.of("scancel", "--name=" + prefix + i));
    seenNs.clear();
  }
}
