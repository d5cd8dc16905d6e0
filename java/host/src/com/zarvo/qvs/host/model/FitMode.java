package com.zarvo.qvs.host.model;

import java.util.Locale;

/** How a picture is laid into a rendition of another aspect. */
public enum FitMode {
  /** Whole picture, bars where it leaves room. */
  LETTERBOX(1),
  /** Whole picture, aspect given up. */
  STRETCH(3),
  /** Whole rendition, picture cut at two edges. */
  FILL(4);

  /** Number of the native side. */
  public final long code;

  FitMode(long code) {
    this.code = code;
  }

  public static FitMode of(String text) {
    for (FitMode mode : values()) if (mode.label().equals(text)) return mode;
    throw new IllegalArgumentException("fit '" + text + "' is unknown, take letterbox, stretch or fill");
  }

  public String label() {
    return name().toLowerCase(Locale.ROOT);
  }
}
