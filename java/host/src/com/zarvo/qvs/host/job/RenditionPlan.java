package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.List;

/** Settles the renditions that a source is to get. */
final class RenditionPlan {
  private static final double MAX_FRAME_RATE = 240;

  private RenditionPlan() {}

  /**
   * Those that were asked for, or the usual ones.
   *
   * @param hidesAspect true where the decoder cannot tell the source's aspect
   * @param live true where somebody waits for the pictures
   */
  static List<RenditionSpec> of(JobSettings settings, StreamInfo source, boolean hidesAspect, boolean live)
      throws HostException {
    try {
      return settled(settings, source, hidesAspect, live);
    } catch (IllegalArgumentException e) {
      throw new HostException(e.getMessage());
    }
  }

  private static List<RenditionSpec> settled(
      JobSettings settings, StreamInfo source, boolean hidesAspect, boolean live) {
    // Only a rate control that takes pictures as they come follows another pace than it was told.
    boolean credible = source.frameRateOrDefault() <= MAX_FRAME_RATE;
    boolean plan = !live && !settings.realTime() && settings.hlsWindow() == 0 && credible;
    List<RenditionSpec> wanted =
        settings.renditions().isEmpty() ? DefaultLadder.of(source) : settings.renditions();
    return wanted.stream()
        .map(spec -> spec.settled(settings.format().usualVideo(), settings.frameRate(), settings.preset(), plan && !usesCard(settings, spec)))
        .map(spec -> settings.format().isFolder() ? spec.tunedTo(spec.tuning().ofFragments(spec.codec())) : spec)
        .map(spec -> spec.fittedTo(source.displayAspect(spec.crop())))
        .map(spec -> hidesAspect ? spec.withOwnBars(source.displayAspect()) : spec)
        .toList();
  }

  // An encoder that takes over from a card's is handed all that this one left, at once: none may be held back.
  private static boolean usesCard(JobSettings settings, RenditionSpec spec) {
    EncoderList encoders = spec.encoders() != null ? spec.encoders() : settings.encoderPolicy().encoders();
    return !settings.device().isSoftware() || encoders.backends().stream().anyMatch(backend -> backend.hardware);
  }

  /** Refuses what their container, or an overlay, cannot do. */
  static void check(JobSettings settings, List<RenditionSpec> renditions) throws HostException {
    for (OverlaySpec overlay : settings.overlays())
      if (overlay.rendition() >= renditions.size())
        throw new HostException(
            "overlay on=" + overlay.rendition() + ": there are only renditions 0 to " + (renditions.size() - 1));
    for (RenditionSpec rendition : renditions)
      if (!settings.format().holds(rendition.codec()))
        throw new HostException(
            "--format " + settings.format().label() + " cannot hold " + rendition.codec().codecName);
  }
}
