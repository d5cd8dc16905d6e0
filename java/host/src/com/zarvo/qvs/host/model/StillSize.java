package com.zarvo.qvs.host.model;

/** A size asked for; 0 for a side that follows from the other one. Both 0: the picture's own. */
public record StillSize(int width, int height) {
  public static final StillSize OWN = new StillSize(0, 0);
  private static final int MAX_SIDE = 16384;

  /** "320x180", "320x", "x180" or "320". */
  public static StillSize of(String text) {
    String[] sides = text.split("x", -1);
    if (sides.length > 2) throw new IllegalArgumentException("size '" + text + "' is not WIDTHxHEIGHT");
    int width = side("width", sides[0]);
    int height = sides.length < 2 ? 0 : side("height", sides[1]);
    if (width == 0 && height == 0) throw new IllegalArgumentException("size '" + text + "' is not WIDTHxHEIGHT");
    return new StillSize(width, height);
  }

  private static int side(String what, String text) {
    return text.isEmpty() ? 0 : SpecText.parseInt(what, text, 2, MAX_SIDE);
  }
}
