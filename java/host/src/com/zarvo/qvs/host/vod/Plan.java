package com.zarvo.qvs.host.vod;

import java.util.List;

/**
 * How an input is cut.
 *
 * @param seekable false where workers have to read from its start, since times were mended on the way or lack
 * @param firstMs time of the first picture
 * @param firstSeconds the same, exactly
 * @param endPts where the last picture stops being shown
 * @param mediaMs length of all, sound included
 * @param sound true where there is sound to be made
 * @param note why it is not cut where the user wants it, null where it is
 * @param trouble what broke the input, null where it ended well
 */
record Plan(
    boolean seekable,
    long firstMs,
    double firstSeconds,
    long endPts,
    long mediaMs,
    boolean sound,
    String note,
    String trouble,
    List<Chunk> chunks) {

  /** Chunks, and the sound. */
  int tasks() {
    return chunks.size() + (sound ? 1 : 0);
  }

  /** The sound's task is the last. */
  boolean isSound(int task) {
    return task == chunks.size();
  }

  /** What a task is called in texts. */
  String nameOf(int task) {
    return isSound(task) ? "the sound" : "chunk " + (task + 1);
  }
}
