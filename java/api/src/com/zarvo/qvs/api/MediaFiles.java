package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.Container;
import java.nio.file.Path;

/** Files that a ladder writes: one a rung in a folder, sound in each that can hold it. */
public final class MediaFiles {
  private final Path folder;
  private final Container container;
  private final int window;
  private final boolean overwrite;

  private MediaFiles(Path folder, Container container, int window, boolean overwrite) {
    this.folder = folder;
    this.container = container;
    this.window = window;
    this.overwrite = overwrite;
  }

  public static MediaFiles mp4(Path folder) {
    return new MediaFiles(folder, Container.MP4, 0, false);
  }

  public static MediaFiles webm(Path folder) {
    return new MediaFiles(folder, Container.WEBM, 0, false);
  }

  public static MediaFiles mkv(Path folder) {
    return new MediaFiles(folder, Container.MKV, 0, false);
  }

  /** A folder of segments a rung and a master playlist, which are there when the ladder is finished. */
  public static MediaFiles hls(Path folder) {
    return new MediaFiles(folder, Container.HLS, 0, false);
  }

  /** The same while the ladder runs, with the last so many segments. */
  public static MediaFiles liveHls(Path folder, int segments) {
    if (segments < 3) throw new IllegalArgumentException("a live playlist names three segments at least");
    return new MediaFiles(folder, Container.HLS, segments, true);
  }

  /** Files that are there may be replaced. */
  public MediaFiles overwrite() {
    return new MediaFiles(folder, container, window, true);
  }

  Path folder() {
    return folder;
  }

  Container container() {
    return container;
  }

  int window() {
    return window;
  }

  boolean mayReplace() {
    return overwrite;
  }
}
