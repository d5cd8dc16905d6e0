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
 */
record ChildProcess(int code, String said) {
  /** Runs a program to its end, or to its deadline. */
  static ChildProcess run(List<String> command, Duration deadline) throws HostException {
    Path said = null;
    try {
      // A file, because a pipe that some grandchild holds open has no end.
      said = Files.createTempFile("qvs", ".out");
      Process process =
          new ProcessBuilder(command)
              .redirectOutput(said.toFile())
              .redirectError(ProcessBuilder.Redirect.DISCARD)
              .start();
      process.getOutputStream().close();
      int code = waitFor(process, deadline);
      return new ChildProcess(code, new String(Files.readAllBytes(said), StandardCharsets.UTF_8));
    } catch (IOException e) {
      throw new HostException("cannot run " + command.get(0) + ": " + e.getMessage());
    } finally {
      if (said != null) said.toFile().delete();
    }
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
