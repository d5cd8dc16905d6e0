package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;
import java.util.Deque;
import java.util.List;

/** Those that do the tasks of a run. What they say of a task is a hint: it is done when its result is there. */
interface Crew extends AutoCloseable {
  /** A task that nobody works at any more; `why` is the best that is known, "" for nothing. */
  record Ended(int task, String why) {}

  /** Takes tasks out of the queue as far as there is somebody to do them. */
  void take(Deque<Integer> waiting) throws HostException, IOException;

  /** Tasks that were taken, and since the last call came to an end of whatever kind. */
  List<Ended> ended() throws HostException, IOException;

  /** A task failed on that machine: others are to be preferred. */
  default void failedOn(String machine) {}

  /** How long to wait until there may be something new, in milliseconds. */
  long pauseMs();

  /** "4 workers", for people. */
  String label();

  /** Ends all that is still at work. */
  @Override
  void close();
}
