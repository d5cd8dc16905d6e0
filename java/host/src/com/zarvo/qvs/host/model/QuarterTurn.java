package com.zarvo.qvs.host.model;

/** Turns pictures of planes Y, U and V clockwise, as players do with those of a phone held upright. */
public final class QuarterTurn {
  private QuarterTurn() {}

  /** A picture of even sides, turned by 0 to 3 quarters. */
  public static byte[] turn(byte[] frame, int width, int height, int quarters) {
    byte[] turned = new byte[width * height * 3 / 2];
    turnPlane(frame, turned, 0, width, height, quarters);
    turnPlane(frame, turned, width * height, width / 2, height / 2, quarters);
    turnPlane(frame, turned, width * height * 5 / 4, width / 2, height / 2, quarters);
    return turned;
  }

  private static void turnPlane(byte[] from, byte[] to, int at, int width, int height, int quarters) {
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) {
        int target =
            switch (quarters) {
              case 1 -> x * height + height - 1 - y;
              case 2 -> (height - 1 - y) * width + width - 1 - x;
              case 3 -> (width - 1 - x) * height + y;
              default -> y * width + x;
            };
        to[at + target] = from[at + y * width + x];
      }
  }
}
