package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;

/** Receives what a session makes. All calls come from within the session's own calls, on the caller's thread. */
public interface SessionOutput {
  /** A picture was decoded and drawn on, before it is scaled. */
  default void decoded(long timecode, int width, int height) throws HostException, IOException {}

  /** A coded packet of a rendition; its times in units of the source's time base. */
  default void packet(int rendition, TranscoderPacket packet, long pts, long dts) throws HostException, IOException {}

  /** The packets of a rendition that follow are another encoder's; the first of them is a key picture. */
  default void encoderReplaced(int rendition, EncoderEvent event) throws HostException, IOException {}

  /** A break begins or ends at the picture of that time, in units of the source's time base; a key picture follows. */
  default void cue(SpliceCue cue, long time) throws HostException, IOException {}

  /** True to be given the rendition's picture of that time, as it goes to the encoder. */
  default boolean wantsFrame(int rendition, long timecode) {
    return false;
  }

  /** A picture that was asked for, as BGRA of about the preview size. */
  default void frame(int rendition, long timecode, TranscoderNativeVideoFrame frame) {}

  /** True to be given all decoded sound. */
  default boolean wantsSamples() {
    return false;
  }

  /** A block of decoded sound as the renditions see it; valid until the call returns. */
  default void samples(TranscoderNativeAudioFrame block) throws HostException, IOException {}

  /** A coded packet of an audio rendition. */
  default void audioPacket(int rendition, TranscoderPacket packet) throws HostException, IOException {}

  /**
   * All sound went in; what follows only fills the encoder up. False when nothing need follow.
   *
   * @param endSamples where the sound ends, at the rendition's rate
   */
  default boolean audioEnds(int rendition, long endSamples) throws HostException, IOException {
    return false;
  }

  /** True when nothing need follow any more. */
  default boolean audioIsComplete(int rendition) {
    return true;
  }
}
