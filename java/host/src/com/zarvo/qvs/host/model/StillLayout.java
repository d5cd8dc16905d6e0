package com.zarvo.qvs.host.model;

/**
 * How a coded picture becomes a still picture as it is to be seen: upright, with square pixels, in the size asked for.
 *
 * @param width pixels of the still picture
 * @param height pixels of the still picture
 * @param inner where in it the picture lies; the rest is black
 * @param crop coded pixels that are cut off: left, right, top, bottom
 * @param turn what brings it upright
 */
public record StillLayout(int width, int height, Orientation.Area inner, int[] crop, Orientation turn) {
  private static final int MAX_SIDE = 16384;

  /** `aspect` is width against height of a coded pixel. Null where no such size can be made. */
  public static StillLayout of(
      int codedWidth, int codedHeight, double aspect, Orientation turn, StillSize size, StillFit fit) {
    double shownWidth = turn.swapsSides() ? codedHeight : codedWidth * aspect;
    double shownHeight = turn.swapsSides() ? codedWidth * aspect : codedHeight;
    double ratio = shownWidth / shownHeight;
    int width = size.width();
    int height = size.height();
    boolean own = width == 0 && height == 0;
    if (own) width = (int) Math.round(shownWidth);
    if (own) height = (int) Math.round(shownHeight);
    else if (height == 0 || fit == StillFit.WIDTH && width != 0) height = even(width / ratio);
    else if (width == 0 || fit == StillFit.HEIGHT) width = even(height * ratio);
    if (width < 1 || height < 1 || width > MAX_SIDE || height > MAX_SIDE) return null;

    boolean free = size.width() != 0 && size.height() != 0;
    int innerWidth = width;
    int innerHeight = height;
    if (free && fit == StillFit.FIT) {
      innerWidth = Math.min(width, Math.max(1, (int) Math.round(height * ratio)));
      innerHeight = Math.min(height, Math.max(1, (int) Math.round(width / ratio)));
    }
    int[] crop = new int[4];
    if (free && fit == StillFit.FILL) crop = cut((double) width / height / ratio, codedWidth, codedHeight, turn);
    Orientation.Area inner =
        new Orientation.Area((width - innerWidth) / 2, (height - innerHeight) / 2, innerWidth, innerHeight);
    return new StillLayout(width, height, inner, crop, turn);
  }

  /** Width of the picture as it leaves the decoder's scaler, not turned yet. */
  public int codedWidth() {
    return turn.swapsSides() ? inner.height() : inner.width();
  }

  public int codedHeight() {
    return turn.swapsSides() ? inner.width() : inner.height();
  }

  public boolean hasBars() {
    return inner.width() != width || inner.height() != height;
  }

  // Equal parts of two opposite edges, which ones by how much wider than the picture the size is.
  private static int[] cut(double wider, int codedWidth, int codedHeight, Orientation turn) {
    boolean across = wider < 1 != turn.swapsSides();
    double share = (1 - (wider < 1 ? wider : 1 / wider)) / 2;
    int edge = (int) Math.round(share * (across ? codedWidth : codedHeight));
    return across ? new int[] {edge, edge, 0, 0} : new int[] {0, 0, edge, edge};
  }

  private static int even(double side) {
    return Math.max(2, (int) Math.round(side / 2) * 2);
  }
}
