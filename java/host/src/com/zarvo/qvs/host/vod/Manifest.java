package com.zarvo.qvs.host.vod;

import java.util.ArrayList;
import java.util.List;

/**
 * All that a run has settled, and how far it is: what a controller that comes later goes on with. A task counts once its
 * sum stands here, whatever anybody believes of the process that made it.
 */
final class Manifest {
  private static final int VERSION = 1;

  /** One task; the last is the sound's, where there is any. */
  static final class Task {
    /** Of this run, and of this beginning. */
    int tries;
    int earlierTries;
    /** Of the packets; null until it is done. */
    String sum;
    TaskResult result;
    /** Of each rendition; 0 for the encoder's own beginning. */
    List<Integer> bufferPercent = List.of();
    /** How often its beginning was changed to suit what goes before. */
    int redone;
    /** What went wrong, newest last. */
    List<String> failures = new ArrayList<>();

    /** Failures so far are forgiven, not forgotten. */
    void settle() {
      earlierTries += tries;
      tries = 0;
    }

    boolean isDone() {
      return sum != null;
    }
  }

  private int version = VERSION;
  /** Tells runs in one folder apart: what workers of a former one still bring is not taken. */
  String run;
  String input;
  long inputBytes;
  long inputChangedMs;
  String workingDirectory;
  /** The options that say what is to be made, as they were given. */
  List<String> arguments = List.of();
  double chunkSeconds;
  Plan plan;
  List<Task> tasks = new ArrayList<>();
  /** Submissions so far, so that each has a name of its own. */
  int submissions;

  /** True for a result, which may be null, that is of this run and made of what this says. */
  boolean isMadeBy(TaskResult result, int number) {
    return result != null
        && result.task() == number
        && run.equals(result.run())
        && result.bufferPercent().equals(tasks.get(number).bufferPercent);
  }

  /** True where it is one of ours, from beginning to end. */
  boolean isWhole() {
    return version == VERSION && run != null && plan != null && plan.chunks() != null && tasks.size() == plan.tasks();
  }
}
