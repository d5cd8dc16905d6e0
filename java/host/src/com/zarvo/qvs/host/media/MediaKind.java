package com.zarvo.qvs.host.media;

/** What a stream carries. The native side knows the kinds by their ordinals. */
public enum MediaKind {
  VIDEO,
  AUDIO
}
