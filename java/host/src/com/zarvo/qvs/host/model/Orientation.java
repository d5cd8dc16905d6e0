package com.zarvo.qvs.host.model;

/**
 * How coded pictures are brought upright: mirrored from left to right first where they are, then turned clockwise.
 *
 * @param quarters quarter turns, 0 to 3
 */
public record Orientation(boolean mirrored, int quarters) {
  public static final Orientation UPRIGHT = new Orientation(false, 0);

  private static final double MAX_OFF_DEGREES = 1;
  private static final long FLAG_QUARTER = 0x20000;
  private static final long FLAG_HALF = 0x40000;
  private static final long FLAG_MIRROR = 0x80000;

  /** A rectangle by its upper left corner. */
  public record Area(int x, int y, int width, int height) {}

  /** What a display matrix asks for; null where no quarter turns do it. */
  public static Orientation of(DisplayMatrix matrix) {
    double degrees = Math.toDegrees(Math.atan2(-matrix.c(), matrix.d()));
    long quarters = Math.round(degrees / 90);
    if (Math.abs(degrees - 90 * quarters) > MAX_OFF_DEGREES) return null;
    boolean mirrored = (long) matrix.a() * matrix.d() < (long) matrix.b() * matrix.c();
    return new Orientation(mirrored, (int) Math.floorMod(quarters, 4L));
  }

  /** True when width and height change places. */
  public boolean swapsSides() {
    return quarters % 2 != 0;
  }

  /** The scaler's flags that do it. */
  public long scaleFlags() {
    return (quarters % 2 != 0 ? FLAG_QUARTER : 0) | (quarters > 1 ? FLAG_HALF : 0) | (mirrored ? FLAG_MIRROR : 0);
  }

  /** Where an area of an upright picture of that size lies in the coded one. */
  public Area toCoded(Area upright, int width, int height) {
    Area area = upright;
    int across = width;
    int down = height;
    for (int i = 0; i < quarters; i++) {
      area = new Area(area.y, across - area.x - area.width, area.height, area.width);
      int turned = across;
      across = down;
      down = turned;
    }
    return mirrored ? new Area(across - area.x - area.width, area.y, area.width, area.height) : area;
  }
}
