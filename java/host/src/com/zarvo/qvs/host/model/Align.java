package com.zarvo.qvs.host.model;

import java.util.Locale;

/** The corner, edge or middle of a picture that an overlay hangs on. */
public enum Align {
  TOP_LEFT(0x01 | 0x10),
  TOP(0x02 | 0x10),
  TOP_RIGHT(0x04 | 0x10),
  LEFT(0x01 | 0x20),
  CENTER(0x02 | 0x20),
  RIGHT(0x04 | 0x20),
  BOTTOM_LEFT(0x01 | 0x40),
  BOTTOM(0x02 | 0x40),
  BOTTOM_RIGHT(0x04 | 0x40);

  /** Bits of the native side: 1 left, 2 middle, 4 right; 16 top, 32 middle, 64 bottom. */
  public final int bits;

  Align(int bits) {
    this.bits = bits;
  }

  public static Align of(String text) {
    for (Align align : values()) if (align.label().equals(text)) return align;
    throw new IllegalArgumentException(
        "align '" + text + "' is unknown, take top-left, top, top-right, left, center, right, bottom-left, bottom"
            + " or bottom-right");
  }

  public String label() {
    return name().toLowerCase(Locale.ROOT).replace('_', '-');
  }

  /** 0 at the left, 1 in the middle, 2 at the right. */
  public int column() {
    return ordinal() % 3;
  }

  /** 0 at the top, 1 in the middle, 2 at the bottom. */
  public int row() {
    return ordinal() / 3;
  }
}
