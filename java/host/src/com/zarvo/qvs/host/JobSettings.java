package com.zarvo.qvs.host;

import java.nio.file.Path;
import java.util.List;

/**
 * One file to be made into renditions.
 *
 * @param renditions empty for the default ladder
 * @param sounds the audio renditions; empty leaves sound out
 * @param conversion what decoded sound is turned into for all audio renditions
 * @param pictures false leaves pictures out
 * @param contactSheet where it goes, null for none
 * @param keyFrameSeconds longest time from key frame to key frame
 * @param maxMilliseconds of input that are taken, Long.MAX_VALUE for all
 */
record JobSettings(
    Path input,
    Path directory,
    List<RenditionSpec> renditions,
    List<AudioSpec> sounds,
    AudioConversion conversion,
    boolean pictures,
    List<OverlaySpec> overlays,
    Container format,
    Path contactSheet,
    boolean parallel,
    double keyFrameSeconds,
    long maxMilliseconds) {

  /** Pictures alone, in WebM. */
  static JobSettings ofPictures(
      Path input,
      Path directory,
      List<RenditionSpec> renditions,
      List<OverlaySpec> overlays,
      Path contactSheet,
      long maxMilliseconds) {
    return new JobSettings(
        input, directory, renditions, List.of(), AudioConversion.NONE, true, overlays, Container.WEBM, contactSheet,
        true, 2, maxMilliseconds);
  }
}
