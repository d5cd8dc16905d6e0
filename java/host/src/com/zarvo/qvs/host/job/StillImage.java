package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.Orientation;
import com.zarvo.qvs.host.model.StillLayout;
import com.zarvo.qvs.host.session.DirectBytes;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.IntBuffer;

/** A picture of B, G, R, A in direct memory that its owner gives back. */
final class StillImage implements AutoCloseable {
  private static final int BLACK = 0xff000000;
  private static final int GRID_COLUMNS = 16;
  private static final int GRID_ROWS = 9;
  private static final int DARK = 28;

  private final ByteBuffer bytes;
  private final IntBuffer pixels;
  private final int width;
  private final int height;

  /** Takes the memory over. */
  StillImage(ByteBuffer bytes, int width, int height) {
    this.bytes = bytes;
    this.pixels = bytes.order(ByteOrder.LITTLE_ENDIAN).asIntBuffer();
    this.width = width;
    this.height = height;
  }

  /** A black one. */
  StillImage(int width, int height) {
    this(ByteBuffer.allocateDirect(Math.multiplyExact(4, Math.multiplyExact(width, height))), width, height);
    for (int i = 0; i < width * height; i++) pixels.put(i, BLACK);
  }

  ByteBuffer bytes() {
    return bytes;
  }

  int width() {
    return width;
  }

  int height() {
    return height;
  }

  /** The picture that a layout wants of what the decoder gave: this one, or another in place of it. */
  StillImage laidOut(StillLayout layout) {
    boolean turns = !layout.turn().equals(Orientation.UPRIGHT);
    if (!turns && !layout.hasBars()) return this;
    try (StillImage given = this) {
      StillImage whole = new StillImage(layout.width(), layout.height());
      given.copyTurned(whole, layout.inner(), layout.turn());
      return whole;
    }
  }

  private void copyTurned(StillImage target, Orientation.Area to, Orientation turn) {
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) {
        int across = turn.mirrored() ? width - 1 - x : x;
        int column =
            switch (turn.quarters()) {
              case 1 -> height - 1 - y;
              case 2 -> width - 1 - across;
              case 3 -> y;
              default -> across;
            };
        int row =
            switch (turn.quarters()) {
              case 1 -> across;
              case 2 -> height - 1 - y;
              case 3 -> width - 1 - across;
              default -> y;
            };
        target.pixels.put((to.y() + row) * target.width + to.x() + column, pixels.get(y * width + x));
      }
  }

  /** Puts this picture into a larger one. */
  void drawOn(StillImage sheet, int left, int top) {
    int[] row = new int[width];
    for (int y = 0; y < height; y++) {
      pixels.get(y * width, row);
      sheet.pixels.put((top + y) * sheet.width + left, row);
    }
  }

  /** How much there is to see in it: differences between neighbours, less where much of it is black. */
  double interest() {
    long differences = 0;
    long dark = 0;
    for (int y = 0; y < height; y++) {
      int left = lumaAt(0, y);
      for (int x = 0; x < width; x++) {
        int luma = lumaAt(x, y);
        differences += Math.abs(luma - left) + (y > 0 ? Math.abs(luma - lumaAt(x, y - 1)) : 0);
        if (luma < DARK) dark++;
        left = luma;
      }
    }
    double bright = 1 - (double) dark / (width * height);
    return (double) differences / (width * height) * bright * bright;
  }

  private int lumaAt(int x, int y) {
    int pixel = pixels.get(y * width + x);
    return ((pixel >> 16 & 0xff) * 77 + (pixel >> 8 & 0xff) * 150 + (pixel & 0xff) * 29) >> 8;
  }

  /** Its colours in coarse blocks, by which two pictures are told apart. */
  double[] blocks() {
    double[] sums = new double[GRID_COLUMNS * GRID_ROWS * 3];
    double[] counts = new double[GRID_COLUMNS * GRID_ROWS];
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) {
        int block = y * GRID_ROWS / height * GRID_COLUMNS + x * GRID_COLUMNS / width;
        int pixel = pixels.get(y * width + x);
        for (int part = 0; part < 3; part++) sums[block * 3 + part] += pixel >> 8 * part & 0xff;
        counts[block]++;
      }
    for (int i = 0; i < sums.length; i++) sums[i] /= Math.max(1, counts[i / 3]);
    return sums;
  }

  @Override
  public void close() {
    DirectBytes.free(bytes);
  }
}
