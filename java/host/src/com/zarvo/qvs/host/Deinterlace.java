package com.zarvo.qvs.host;

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
  final long mode;

  final long doubleRate;

  Deinterlace(long mode, long doubleRate) {
    this.mode = mode;
    this.doubleRate = doubleRate;
  }

  static Deinterlace of(String text) {
    for (Deinterlace value : values()) if (value.label().equals(text.toLowerCase(Locale.ROOT))) return value;
    throw new IllegalArgumentException("'" + text + "' is unknown, take off, on or double");
  }

  String label() {
    return name().toLowerCase(Locale.ROOT);
  }
}
