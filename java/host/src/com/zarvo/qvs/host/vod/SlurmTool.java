package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.ChildProcess;
import java.time.Duration;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** Runs Slurm's commands. A controller that is down for a while is waited for, one that stays away is not. */
final class SlurmTool {
  private static final Duration DEADLINE = Duration.ofSeconds(60);
  private static final Pattern MAX_ARRAY = Pattern.compile("MaxArraySize\\s*=\\s*(\\d+)");
  private static final Pattern AWAY =
      Pattern.compile("contact slurm|timed out|connection|connect failure|temporarily|zero bytes", Pattern.CASE_INSENSITIVE);

  private final long patienceNs;
  private long answeredNs = System.nanoTime();

  SlurmTool(int patienceSeconds) {
    patienceNs = patienceSeconds * 1_000_000_000L;
  }

  /** What a command prints; null where the controller does not answer now. Refusals are failures. */
  String run(List<String> command) throws HostException {
    ChildProcess done = ChildProcess.run(command, DEADLINE);
    if (done.code() == 0) {
      answeredNs = System.nanoTime();
      return done.said();
    }
    String said = done.code() < 0 ? "timed out" : done.complaint().strip().replace('\n', ' ');
    if (!AWAY.matcher(said).find()) throw new HostException(command.get(0) + ": " + said);
    if (System.nanoTime() - answeredNs > patienceNs)
      throw new HostException("Slurm has not answered for " + patienceNs / 1_000_000_000L + " s: " + said);
    return null;
  }

  /** The same where nobody minds. */
  void tryToRun(List<String> command) {
    try {
      ChildProcess.run(command, DEADLINE);
    } catch (HostException e) {
      System.err.println("qvs: " + e.getMessage());
    }
  }

  int maxArraySize() throws HostException {
    String config = run(List.of("scontrol", "show", "config"));
    Matcher found = MAX_ARRAY.matcher(config == null ? "" : config);
    return found.find() ? Integer.parseInt(found.group(1)) : 2;
  }
}
