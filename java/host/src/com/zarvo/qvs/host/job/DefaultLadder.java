package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.FitMode;
import com.zarvo.qvs.host.model.VideoTuning;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.ArrayList;
import java.util.List;

/**
 * The renditions that a source gets when the user names none: its own size and common ones below, down to 360p. A common
 * size is that of the shorter side, so pictures that stand upright get the same ladder.
 */
final class DefaultLadder {
  private static final int[] COMMON_SIDES = {2160, 1440, 1080, 720, 480, 360};
  private static final int MAX_RUNGS = 5;
  // A rung with nearly as many pixels as the one above costs as much and shows no less.
  private static final double MAX_PIXEL_SHARE = 2.0 / 3;
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
    for (int side : COMMON_SIDES) {
      double scale = (double) side / Math.min(sourceWidth, sourceHeight);
      int width = clampEven(2 * (int) Math.round(sourceWidth * scale / 2));
      int height = clampEven(2 * (int) Math.round(sourceHeight * scale / 2));
      if (width * (double) height <= MAX_PIXEL_SHARE * pixels(rungs.get(rungs.size() - 1)))
        rungs.add(rung(width, height, source));
    }
    while (rungs.size() > MAX_RUNGS) rungs.remove(leastMissed(rungs));
    return rungs;
  }

  /** The rung between two others that leaves the smallest step; the larger one where several do, for it costs more. */
  private static int leastMissed(List<RenditionSpec> rungs) {
    int found = 1;
    for (int i = 2; i < rungs.size() - 1; i++) if (stepWithout(rungs, i) < 0.99 * stepWithout(rungs, found)) found = i;
    return found;
  }

  private static double stepWithout(List<RenditionSpec> rungs, int rung) {
    return pixels(rungs.get(rung - 1)) / pixels(rungs.get(rung + 1));
  }

  private static double pixels(RenditionSpec rung) {
    return (double) rung.width() * rung.height();
  }

  private static RenditionSpec rung(int width, int height, StreamInfo source) {
    long bitRate = RenditionSpec.defaultBitRate(width, height, source.frameRateOrDefault());
    if (source.bitRate() > 0) bitRate = Math.min(bitRate, shareOf(source, width, height));
    // The size already has the source's aspect but for rounding: a letterbox would add bars of a pixel or two.
    return new RenditionSpec(
        width, height, bitRate, null, FitMode.STRETCH, 0, null, null, VideoTuning.USUAL, null);
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
