package com.zarvo.qvs.api;

import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;

/** A coded packet on its way into a ladder. */
public final class SourcePacket {
  private final MediaPacket packet;
  private final MediaPacket following;

  /** `following` is the next packet of sound, for a packet of sound. */
  SourcePacket(MediaPacket packet, MediaPacket following) {
    this.packet = packet;
    this.following = following;
  }

  public boolean isSound() {
    return packet.kind() == MediaKind.AUDIO;
  }

  /** True where decoding can start. */
  public boolean isKey() {
    return packet.key();
  }

  /** When it is shown or heard, milliseconds of the source's clock. */
  public long milliseconds() {
    return packet.timecodeMs();
  }

  /** Bytes that it has. */
  public int length() {
    return packet.data().length;
  }

  MediaPacket packet() {
    return packet;
  }

  MediaPacket following() {
    return following;
  }
}
