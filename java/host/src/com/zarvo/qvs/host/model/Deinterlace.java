package com.zarvo.qvs.host.model;

import java.util.Locale;

/** What becomes of interlaced pictures; others stay as they are. */
public enum Deinterlace {
  /** Both fields stay in one picture. */
  OFF(0, 0),
  /** One picture of each pair of fields. */
  ON(1, 0),
  /** One picture of each field, at twice the rate. */
  DOUBLE(1, 1);

  /** Values of the decoder's two parameters. */
  public final long mode;

  public final long doubleRate;

  Deinterlace(long mode, long doubleRate) {
    this.mode = mode;
    this.doubleRate = doubleRate;
  }

  public static Deinterlace of(String text) {
    for (Deinterlace value : values()) if (value.label().equals(text.toLowerCase(Locale.ROOT))) return value;
    throw new IllegalArgumentException("'" + text + "' is unknown, take off, on or double");
  }

  public String label() {
    return name().toLowerCase(Locale.ROOT);
  }
}
