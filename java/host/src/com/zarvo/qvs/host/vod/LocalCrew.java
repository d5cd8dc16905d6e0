package com.zarvo.qvs.host.vod;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.Deque;
import java.util.Iterator;
import java.util.List;
import java.util.concurrent.TimeUnit;

/**
 * Processes on this machine, each of which does one task after the other: a virtual machine starts and warms up once. One
 * ends with its first failure, so that nothing of that reaches another task, and with the process that started it, however
 * that ends.
 */
final class LocalCrew implements Crew {
  /** Makes a worker take its tasks from its standard input, which its starter holds, and end with that. */
  private static final String TETHERED = "--tethered";

  private static final long PAUSE_MS = 50;
  private static final long PATIENCE_MS = 5000;
  private static final int SIGNAL_CODE = 128;

  private final List<String> command;
  private final WorkFolder folder;
  private final String directory;
  private final int size;
  private final List<Worker> workers = new ArrayList<>();

  /** A process, what it is at and what it said last. */
  private static final class Worker {
    private static final int IDLE = -1;

    final Process process;
    final Thread listener;
    volatile int task = IDLE;
    volatile int done = IDLE;
    volatile String lastLine = "";

    Worker(Process process) {
      this.process = process;
      listener = new Thread(this::listen, "worker");
      listener.setDaemon(true);
      listener.start();
    }

    private void listen() {
      try (BufferedReader lines =
          new BufferedReader(new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
        for (String line = lines.readLine(); line != null; line = lines.readLine()) {
          if (line.endsWith(VodWorker.doneLine(task))) done = task;
          else if (!line.isBlank()) lastLine = line;
        }
      } catch (IOException e) {
        lastLine = e.getMessage();
      }
    }

    boolean isIdle() {
      return task == IDLE && process.isAlive();
    }

    void give(int next) {
      task = next;
      lastLine = "";
      try {
        process.getOutputStream().write((next + "\n").getBytes(StandardCharsets.US_ASCII));
        process.getOutputStream().flush();
      } catch (IOException e) {
        // It is ending; the task comes back with its code.
        process.destroyForcibly();
      }
    }
  }

  /** `command` is what a folder has to be added to. */
  LocalCrew(List<String> command, WorkFolder folder, String directory, int size) {
    this.command = command;
    this.folder = folder;
    this.directory = directory;
    this.size = size;
  }

  @Override
  public void take(Deque<Integer> waiting) throws IOException {
    workers.removeIf(worker -> worker.task == Worker.IDLE && !worker.process.isAlive());
    for (Worker worker : workers) if (worker.isIdle() && !waiting.isEmpty()) worker.give(waiting.remove());
    while (workers.size() < size && !waiting.isEmpty()) {
      Worker worker = new Worker(start());
      workers.add(worker);
      worker.give(waiting.remove());
    }
  }

  private Process start() throws IOException {
    List<String> whole = new ArrayList<>(command);
    whole.addAll(List.of(TETHERED, folder.root().toString()));
    return new ProcessBuilder(whole).directory(new java.io.File(directory)).redirectErrorStream(true).start();
  }

  @Override
  public List<Ended> ended() {
    List<Ended> ended = new ArrayList<>();
    for (Iterator<Worker> each = workers.iterator(); each.hasNext(); ) {
      Worker worker = each.next();
      if (worker.task == Worker.IDLE) continue;
      // In this order: what it did before it ended counts.
      boolean alive = worker.process.isAlive();
      if (worker.done == worker.task) {
        ended.add(new Ended(worker.task, ""));
        worker.task = worker.done = Worker.IDLE;
      } else if (!alive) {
        each.remove();
        ended.add(new Ended(worker.task, reason(worker)));
      }
    }
    return ended;
  }

  private static String reason(Worker worker) {
    int code = worker.process.exitValue();
    if (code == 0) return "";
    try {
      worker.listener.join(PATIENCE_MS);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
    String said = worker.lastLine.isEmpty() ? "" : ": " + worker.lastLine;
    boolean killed = code > SIGNAL_CODE;
    return (killed ? "its process was killed by signal " + (code - SIGNAL_CODE) : "its process ended with code " + code)
        + said;
  }

  @Override
  public long pauseMs() {
    return PAUSE_MS;
  }

  @Override
  public String label() {
    return size + (size == 1 ? " worker" : " workers");
  }

  @Override
  public void close() {
    for (Worker worker : workers) worker.process.destroyForcibly();
    try {
      for (Worker worker : workers) worker.process.waitFor(PATIENCE_MS, TimeUnit.MILLISECONDS);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
    workers.clear();
  }
}
