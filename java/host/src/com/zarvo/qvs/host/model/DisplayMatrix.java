package com.zarvo.qvs.host.model;

/**
 * How coded pictures are turned and mirrored to be shown: x' = ax + cy, y' = bx + dy with y downwards, in 16.16 fixed
 * point. Where the picture then lies is left to whoever knows its size.
 */
public record DisplayMatrix(int a, int b, int c, int d) {
  private static final int ONE = 1 << 16;
  public static final DisplayMatrix AS_CODED = new DisplayMatrix(ONE, 0, 0, ONE);

  public boolean isAsCoded() {
    return equals(AS_CODED);
  }

  /** What it does, as a line of text may end. */
  @Override
  public String toString() {
    if (isAsCoded()) return "as coded";
    long degrees = Math.floorMod(Math.round(Math.toDegrees(Math.atan2(b, a))), 360L);
    boolean mirrored = (long) a * d < (long) b * c;
    return (mirrored ? "mirrored top to bottom and " : "") + "turned by " + degrees + " degrees clockwise";
  }
}
