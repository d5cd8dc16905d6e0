package com.zarvo.qvs.host.watch;

import com.zarvo.qvs.host.job.JobResult;
import com.zarvo.qvs.host.job.Json;
import com.zarvo.qvs.host.session.EncoderCards;
import com.zarvo.qvs.host.session.SessionCounters;
import java.io.FileOutputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;

/**
 * A line of JSON a second on how far a session is, and one more on how its job ended. A thread of its own writes: a
 * reader that is slow, or gone, holds nothing up.
 */
public final class ProgressLines implements AutoCloseable {
  /** Stands for standard output. */
  public static final String STANDARD_OUTPUT = "-";

  private static final long INTERVAL_MS = 1000;
  private static final long PATIENCE_MS = 2000;

  private final String target;
  private final PrintStream told;
  private final CountDownLatch over = new CountDownLatch(1);
  private final Thread thread = new Thread(this::write, "progress");
  private volatile SessionCounters session;
  private volatile JobResult result;
  private OutputStream out;

  private ProgressLines(String target, PrintStream told) {
    this.target = target;
    this.told = told;
  }

  /**
   * Begins with what stands under that name, a file that is emptied, a FIFO, or "-".
   *
   * @param standardOutput what "-" means
   * @param told gets the line on a reader that has gone
   */
  public static ProgressLines open(String target, PrintStream standardOutput, PrintStream told) throws IOException {
    ProgressLines lines = new ProgressLines(target, told);
    if (target.equals(STANDARD_OUTPUT)) lines.out = checked(standardOutput);
    else if (!isFifo(target)) lines.out = new FileOutputStream(target);
    lines.thread.setDaemon(true);
    lines.thread.start();
    return lines;
  }

  // Opening a FIFO waits for its reader.
  private static boolean isFifo(String target) {
    Path path = Path.of(target);
    return Files.exists(path) && !Files.isRegularFile(path) && !Files.isDirectory(path);
  }

  // A print stream keeps failures to itself.
  private static OutputStream checked(PrintStream print) {
    return new OutputStream() {
      @Override
      public void write(int b) throws IOException {
        write(new byte[] {(byte) b}, 0, 1);
      }

      @Override
      public void write(byte[] bytes, int offset, int length) throws IOException {
        print.write(bytes, offset, length);
        if (print.checkError()) throw new IOException("Broken pipe");
      }
    };
  }

  /** The session whose numbers are told from now on. */
  public void watch(SessionCounters counters) {
    session = counters;
  }

  /** How the job ended; the last line says so. */
  public void end(JobResult result) {
    this.result = result;
  }

  private void write() {
    try {
      if (out == null) out = new FileOutputStream(target);
      while (!over.await(INTERVAL_MS, TimeUnit.MILLISECONDS)) if (session != null) put(numbers("running"));
      put(last());
    } catch (IOException e) {
      String trouble = "--progress " + target + ": " + e.getMessage() + ": no more lines go there, the work goes on";
      told.println("qvs: " + trouble);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
  }

  private Map<String, Object> numbers(String outcome) {
    Map<String, Object> line = new LinkedHashMap<>();
    line.put("outcome", outcome);
    if (session != null) line.putAll(SessionNumbers.brief(session));
    List<Map<String, Object>> cards = EncoderCards.ofProcess().toMaps();
    if (!cards.isEmpty()) line.put("cards", cards);
    return line;
  }

  private Map<String, Object> last() {
    if (result == null) return numbers("failed");
    Map<String, Object> line = numbers(result.outcome());
    if (result.failure() != null) line.put("error", result.failure());
    line.put("wallSeconds", result.wallSeconds());
    line.put("speed", result.speed());
    if (session != null) line.put("secondsLeft", 0.0);
    return line;
  }

  private void put(Map<String, Object> line) throws IOException {
    byte[] bytes = Json.line(line).getBytes(StandardCharsets.UTF_8);
    out.write(bytes, 0, bytes.length);
    out.flush();
  }

  /** Writes the last line; without {@link #end}, that the job failed. */
  @Override
  public void close() throws IOException {
    over.countDown();
    try {
      thread.join(PATIENCE_MS);
    } catch (InterruptedException e) {
      Thread.currentThread().interrupt();
    }
    if (thread.isAlive()) told.println("qvs: --progress " + target + ": nobody reads there, its last lines are lost");
    else if (out != null && !target.equals(STANDARD_OUTPUT)) out.close();
  }
}
