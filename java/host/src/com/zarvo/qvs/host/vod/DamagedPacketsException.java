package com.zarvo.qvs.host.vod;

import java.io.IOException;
import java.nio.file.Path;

/** A result is no more what its maker wrote, so it has to be made once more. */
final class DamagedPacketsException extends IOException {
  private static final long serialVersionUID = 1;

  private final transient Path file;

  DamagedPacketsException(Path file) {
    super(file + ": is not what was written");
    this.file = file;
  }

  Path file() {
    return file;
  }
}
