package com.zarvo.qvs.host.cli;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.replay.Replay;
import java.io.IOException;
import java.nio.file.Path;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** "replay": makes the native calls of a recording again and tells where the answers part. */
@Command(
    name = "replay",
    description = "Makes the native calls of a recording (QVS_RECORD=FILE) again and compares the answers.",
    sortOptions = false)
final class ReplayCommand implements Callable<Integer> {
  @Parameters(paramLabel = "FILE", description = "The recording.")
  private Path file;

  @Option(names = "--list", description = "Prints the calls and makes none.")
  private boolean list;

  @Option(names = "--all", description = "Goes on behind the first answer that differs, and tells up to a thousand.")
  private boolean all;

  @Override
  public Integer call() throws HostException, IOException {
    String recording = System.getenv("QVS_RECORD");
    if (!list && recording != null && !recording.isEmpty())
      throw new HostException("QVS_RECORD is set: a replay is not recorded, the file might be the one that is read");
    long startNs = System.nanoTime();
    Replay.Result result = new Replay(file, list, all ? 1000 : 1, System.out::println).run();
    for (String remark : result.remarks()) System.err.println("qvs: " + remark);
    for (String difference : result.differences()) System.out.println(difference);
    if (result.damage() != null) System.err.println("qvs: " + file + ": " + result.damage());
    if (result.endsWithin() != null)
      System.out.println("the recording ends within " + result.endsWithin() + "; here the call returned");
    if (list) return result.damage() == null ? 0 : 1;
    String verdict = result.isEqual() ? "equal" : result.differences().isEmpty() ? "equal as far as it can be read" : "answers part";
    System.out.printf(
        "%d calls of %d sessions, %d compared, in %.1f s: %s%n",
        result.calls(),
        result.sessions(),
        result.compared(),
        (System.nanoTime() - startNs) / 1e9, verdict);
    return result.isEqual() ? 0 : 1;
  }
}
