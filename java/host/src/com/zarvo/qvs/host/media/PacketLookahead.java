package com.zarvo.qvs.host.media;

/** A look at packets that are still to come. */
public interface PacketLookahead {
  /** The n-th packet of a kind that was not taken yet, counted from 0; null when there is none. */
  MediaPacket peek(MediaKind kind, int n) throws MediaException;
}
