package com.zarvo.qvs.host;

import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;

/** Receives what a session makes. All calls come from within the session's own calls, on the caller's thread. */
interface SessionOutput {
  /** A picture was decoded and drawn on, before it is scaled. */
  default void decoded(long timecode, int width, int height) throws HostException, IOException {}

  /** A coded packet of a rendition. */
  default void packet(int rendition, TranscoderPacket packet) throws HostException, IOException {}

  /** True to be given the rendition's picture of that time, as it goes to the encoder. */
  default boolean wantsPicture(int rendition, long timecode) {
    return false;
  }

  /** A picture that was asked for, as BGRA of about the preview size. */
  default void picture(int rendition, long timecode, TranscoderNativeVideoFrame picture) {}
}
