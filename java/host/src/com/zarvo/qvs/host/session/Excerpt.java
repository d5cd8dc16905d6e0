package com.zarvo.qvs.host.session;

import java.util.List;

/**
 * The part of a source that a session makes, where others make the rest and all parts are joined. What it needs to know of
 * the pictures before it stands here. Two sessions of one excerpt give the same bytes, whatever the machine has to offer.
 *
 * @param fromPts the first picture's time in units of the source, which a key picture has
 * @param toPts the time that no picture reaches
 * @param firstMs time of the source's first picture: key pictures are counted from there
 * @param dueMs of each rendition with a frame rate of its own: when its next picture is due; NaN for the first
 * @param bufferPercent of each rendition: how full its rate buffer is at the start, 0 for the encoder's own beginning
 */
public record Excerpt(long fromPts, long toPts, long firstMs, List<Double> dueMs, List<Integer> bufferPercent) {
  boolean holds(long pts) {
    return pts >= fromPts && pts < toPts;
  }
}
