package com.zarvo.qvs.host.job;

import java.nio.file.Path;
import java.util.List;

/** Whether files that are there already may be replaced. */
public interface Overwrite {
  /** Nothing is replaced. */
  Overwrite NEVER = existing -> false;

  /** Everything may be replaced. */
  Overwrite ALWAYS = existing -> true;

  /** Asked before anything is written, and once more for files that have come since. */
  boolean allows(List<Path> existing);
}
