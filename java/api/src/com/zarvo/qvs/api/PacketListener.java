package com.zarvo.qvs.api;

import java.io.IOException;

/**
 * Is given what a ladder makes, from within the ladder's own calls and on their thread. It may change bit rates and
 * overlays, and close the ladder: that is done when the call ends.
 */
@FunctionalInterface
public interface PacketListener {
  void packet(CodedPacket packet) throws IOException;
}
