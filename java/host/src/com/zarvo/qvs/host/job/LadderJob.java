package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.session.SessionCounters;
import java.io.IOException;
import java.util.function.Consumer;

/** Work that makes a ladder of renditions. */
public interface LadderJob {
  /** Who is told of the session's numbers once it stands. */
  LadderJob watchedBy(Consumer<SessionCounters> watcher);

  /** Runs to the end. When it returns every rendition was written whole; otherwise it throws. */
  JobResult run() throws HostException, IOException;

  /** What is known so far, also of work that failed. */
  JobResult result();
}
