package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.FitMode;
import com.zarvo.qvs.host.model.H264Tuning;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.ArrayList;
import java.util.List;

/** The renditions that a source gets when the user names none: its own size and the next two common heights below. */
final class DefaultLadder {
  private static final int[] HEIGHTS = {2160, 1440, 1080, 720, 480, 360, 240, 144};
  private static final int RUNGS = 3;
  private static final double SOURCE_SHARE = 0.9;
  private static final double SHARE_EXPONENT = 0.75;
  private static final long MIN_BIT_RATE = 30_000;

  private DefaultLadder() {}

  /** For pixels that are not square the width is what makes them so. */
  static List<RenditionSpec> of(StreamInfo source) {
    int sourceHeight = clampEven(source.height());
    int sourceWidth = clampEven(2 * (int) Math.round(source.displayAspect() * sourceHeight / 2));
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
    if (source.bitRate() > 0) bitRate = Math.min(bitRate, shareOf(source, width, height));
    // The size already has the source's aspect but for rounding: a letterbox would add bars of a pixel or two.
    return new RenditionSpec(
        width, height, bitRate, null, FitMode.STRETCH, 0, null, null, H264Tuning.USUAL);
  }

  // More bits than the source has bring nothing back; smaller pictures need fewer, though not in proportion.
  private static long shareOf(StreamInfo source, int width, int height) {
    double pixels = source.displayAspect() * source.height() * source.height();
    double share = Math.pow(Math.min(1, width * (double) height / pixels), SHARE_EXPONENT);
    return Math.max(MIN_BIT_RATE, Math.round(source.bitRate() * SOURCE_SHARE * share));
  }

  private static int clampEven(int size) {
    return Math.max(RenditionSpec.MIN_SIZE, Math.min(RenditionSpec.MAX_SIZE, size & ~1));
  }
}
