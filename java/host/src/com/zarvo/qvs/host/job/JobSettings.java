package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.H264Tuning;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.nio.file.Path;
import java.util.List;

/**
 * One file to be made into renditions.
 *
 * @param renditions empty for the default ladder
 * @param sounds the audio renditions; empty leaves sound out
 * @param conversion what decoded sound is turned into for all audio renditions
 * @param pictures false leaves pictures out
 * @param soundAlong true to make an audio rendition of a source with sound where `sounds` is empty
 * @param deinterlace what becomes of interlaced pictures
 * @param frameRate highest pictures a second of renditions that name none, 0 for the source's own
 * @param preset of H.264 renditions that name none, null for the usual one
 * @param hlsWindow segments that a playlist names at a time while the work goes on, 0 for all at its end
 * @param contactSheet where it goes, null for none
 * @param keyFrameSeconds longest time from key frame to key frame
 * @param maxMilliseconds of input that are taken, Long.MAX_VALUE for all
 */
public record JobSettings(
    Path input,
    Path directory,
    List<RenditionSpec> renditions,
    List<AudioSpec> sounds,
    AudioConversion conversion,
    boolean pictures,
    boolean soundAlong,
    Deinterlace deinterlace,
    double frameRate,
    H264Tuning.Preset preset,
    List<OverlaySpec> overlays,
    Container format,
    int hlsWindow,
    Path contactSheet,
    boolean parallel,
    double keyFrameSeconds,
    long maxMilliseconds) {

  /** Pictures and sound in MP4, everything else as usual. */
  public static JobSettings usual(
      Path input,
      Path directory,
      List<RenditionSpec> renditions,
      List<OverlaySpec> overlays,
      Path contactSheet,
      long maxMilliseconds) {
    return new JobSettings(
        input, directory, renditions, List.of(), AudioConversion.NONE, true, true, Deinterlace.ON, 0, null, overlays,
        Container.MP4, 0, contactSheet, true, 2, maxMilliseconds);
  }
}
