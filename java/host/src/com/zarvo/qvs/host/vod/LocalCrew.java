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

/** Processes on this machine, a task each. They end with the process that started them, however that ends. */
final class LocalCrew implements Crew {
  /** Makes a worker end when its standard input does, which its starter holds. */
  static final String TETHERED = "--tethered";

  private static final long PAUSE_MS = 50;
  private static final long PATIENCE_MS = 5000;
  private static final int SIGNAL_CODE = 128;

  private final List<String> command;
  private final WorkFolder folder;
  private final String directory;
  private final int size;
  private final List<Worker> workers = new ArrayList<>();

  /** A process and what it said last. */
  private static final class Worker {
    final int task;
    final Process process;
    final Thread listener;
    volatile String lastLine = "";

    Worker(int task, Process process) {
      this.task = task;
      this.process = process;
      listener = new Thread(this::listen, "worker");
      listener.setDaemon(true);
      listener.start();
    }

    private void listen() {
      try (BufferedReader lines =
          new BufferedReader(new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8))) {
        for (String line = lines.readLine(); line != null; line = lines.readLine())
          if (!line.isBlank()) lastLine = line;
      } catch (IOException e) {
        lastLine = e.getMessage();
      }
    }
  }

  /** `command` is what a folder and the number of a task have to be added to. */
  LocalCrew(List<String> command, WorkFolder folder, String directory, int size) {
    this.command = command;
    this.folder = folder;
    this.directory = directory;
    this.size = size;
  }

  @Override
  public void take(Deque<Integer> waiting) throws IOException {
    while (workers.size() < size && !waiting.isEmpty()) {
      List<String> whole = new ArrayList<>(command);
      whole.addAll(List.of(TETHERED, folder.root().toString(), Integer.toString(waiting.remove())));
      ProcessBuilder builder = new ProcessBuilder(whole).directory(new java.io.File(directory)).redirectErrorStream(true);
      workers.add(new Worker(Integer.parseInt(whole.get(whole.size() - 1)), builder.start()));
    }
  }

  @Override
  public List<Ended> ended() {
    List<Ended> ended = new ArrayList<>();
    for (Iterator<Worker> each = workers.iterator(); each.hasNext(); ) {
      Worker worker = each.next();
      if (worker.process.isAlive()) continue;
      each.remove();
      ended.add(new Ended(worker.task, reason(worker)));
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
