package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.List;
import java.util.concurrent.TimeUnit;

/**
 * A program for work that this process must not die of.
 *
 * @param code its exit code, -1 where it had to be killed
 * @param said what it printed on standard output
 * @param complaint what it printed on standard error
 */
public record ChildProcess(int code, String said, String complaint) {
  /** Runs a program to its end, or to its deadline. */
  public static ChildProcess run(List<String> command, Duration deadline) throws HostException {
    Path said = null;
    Path complaint = null;
    try {
      // A file, because a pipe that some grandchild holds open has no end.
      said = Files.createTempFile("qvs", ".out");
      complaint = Files.createTempFile("qvs", ".err");
      Process process =
          new ProcessBuilder(command)
              .redirectOutput(said.toFile())
              .redirectError(complaint.toFile())
              .start();
      process.getOutputStream().close();
      int code = waitFor(process, deadline);
      return new ChildProcess(code, text(said), text(complaint));
    } catch (IOException e) {
      throw new HostException("cannot run " + command.get(0) + ": " + e.getMessage());
    } finally {
      if (said != null) said.toFile().delete();
      if (complaint != null) complaint.toFile().delete();
    }
  }

  private static String text(Path file) throws IOException {
    return new String(Files.readAllBytes(file), StandardCharsets.UTF_8);
  }

  private static int waitFor(Process process, Duration deadline) throws HostException {
    try {
      if (process.waitFor(deadline.toMillis(), TimeUnit.MILLISECONDS)) return process.exitValue();
      process.destroyForcibly();
      return -1;
    } catch (InterruptedException e) {
      process.destroyForcibly();
      Thread.currentThread().interrupt();
      throw new HostException("interrupted");
    }
  }
}
