package com.zarvo.qvs.host;

import java.util.ArrayList;
import java.util.List;

/** The renditions that a source gets when the user names none: its own size and the next two common heights below. */
final class DefaultLadder {
  private static final int[] HEIGHTS = {2160, 1440, 1080, 720, 480, 360, 240, 144};
  private static final int RUNGS = 3;

  private DefaultLadder() {}

  static List<RenditionSpec> of(StreamInfo source) {
    int sourceWidth = clampEven(source.width());
    int sourceHeight = clampEven(source.height());
    List<RenditionSpec> rungs = new ArrayList<>();
    rungs.add(rung(sourceWidth, sourceHeight, source));
    for (int height : HEIGHTS) {
      if (rungs.size() == RUNGS) break;
      if (height >= sourceHeight) continue;
      int width = clampEven(2 * (int) Math.round(sourceWidth * height / (2.0 * sourceHeight)));
      rungs.add(rung(width, height, source));
    }
    return rungs;
  }

  private static RenditionSpec rung(int width, int height, StreamInfo source) {
    long bitRate = RenditionSpec.defaultBitRate(width, height, source.frameRateOrDefault());
    // The size already has the source's aspect but for rounding: a letterbox would add bars of a pixel or two.
    return new RenditionSpec(width, height, bitRate, VideoCodec.VP8, FitMode.STRETCH, 0, null, null);
  }

  private static int clampEven(int size) {
    return Math.max(RenditionSpec.MIN_SIZE, Math.min(RenditionSpec.MAX_SIZE, size & ~1));
  }
}
