package com.zarvo.qvs.host.cli;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.google.gson.JsonParser;
import com.zarvo.qvs.host.support.SlurmCluster;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Map;
import org.junit.jupiter.api.Assumptions;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;

/** A real Slurm, of this machine alone, loses a node while it works. */
@Timeout(300)
class SlurmTest {
  @TempDir static Path folder;

  @Test
  void aLostNodeCostsNothing() throws Exception {
    String lacking = SlurmCluster.lacking();
    Assumptions.assumeTrue(lacking == null, lacking);
    Path clip = VodRun.clip(folder);
    VodRun local = new VodRun(clip, folder.resolve("local"));
    assertEquals(0, local.run("--workers", "2").code());
    VodRun queued = new VodRun(clip, folder.resolve("queued"));
    Path report = folder.resolve("queued.json");
    try (SlurmCluster cluster = startOrSkip()) {
      Process controller =
          Captured.startWith(
              Map.of("SLURM_CONF", cluster.config().toString()), queued.log(), queued.words("--slurm", "--report", report.toString()));
      VodRun.await(() -> cluster.tasksOf("n2").isEmpty() ? null : true);
      cluster.kill("n2");
      assertEquals(0, controller.waitFor(), queued.said());
    }
    assertEquals(local.sums(), queued.sums());
    String told = Files.readString(report);
    assertTrue(JsonParser.parseString(told).getAsJsonObject().getAsJsonArray("chunks").size() > 1, told);
  }

  // What a machine does not let daemons do is none of this test's affair.
  private static SlurmCluster startOrSkip() throws Exception {
    try {
      return SlurmCluster.start(folder.resolve("slurm"), 2);
    } catch (IOException e) {
      return Assumptions.abort("no Slurm cluster starts here: " + e.getMessage());
    }
  }
}
