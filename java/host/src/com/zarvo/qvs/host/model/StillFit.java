package com.zarvo.qvs.host.model;

import java.util.Locale;

/** How a still picture comes into the size asked for. */
public enum StillFit {
  /** Whole picture, black bars. */
  FIT,
  /** Whole size, picture cut at two edges. */
  FILL,
  /** Whole picture, aspect given up. */
  STRETCH,
  /** The width as asked for, the height follows. */
  WIDTH,
  /** The height as asked for, the width follows. */
  HEIGHT;

  public static StillFit of(String text) {
    for (StillFit fit : values()) if (fit.name().toLowerCase(Locale.ROOT).equals(text)) return fit;
    throw new IllegalArgumentException("fit '" + text + "' is unknown, take fit, fill, stretch, width or height");
  }
}
