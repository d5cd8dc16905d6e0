package com.zarvo.qvs.host;

import java.nio.file.Path;
import java.util.List;

/**
 * One file to be made into renditions.
 *
 * @param renditions empty for the default ladder
 * @param format "webm" or "ivf", also the ending of the files
 * @param contactSheet where it goes, null for none
 * @param keyFrameSeconds longest time from key frame to key frame
 * @param maxMilliseconds of input that are taken, Long.MAX_VALUE for all
 */
record JobSettings(
    Path input,
    Path directory,
    List<RenditionSpec> renditions,
    List<OverlaySpec> overlays,
    String format,
    Path contactSheet,
    boolean parallel,
    double keyFrameSeconds,
    long maxMilliseconds) {}
