package com.zarvo.qvs.host.job;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;

/** Memory of this process that is really there. */
public final class ResidentMemory {
  private static final Path STATM = Path.of("/proc/self/statm");
  private static final long PAGE_BYTES = 4096;

  private ResidentMemory() {}

  public static long bytes() throws IOException {
    return Long.parseLong(Files.readString(STATM).split(" ")[1]) * PAGE_BYTES;
  }
}
