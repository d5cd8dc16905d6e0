package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.AudioSpec;

/** What the encoder of one audio rendition has given so far. Any thread may read; the session's thread writes. */
public final class SoundCounters {
  private final AudioSpec spec;
  private final Counter packets = new Counter();
  private final Counter bytes = new Counter();
  private final Counter lastMs = new Counter();

  SoundCounters(AudioSpec spec) {
    this.spec = spec;
    lastMs.set(Long.MIN_VALUE);
  }

  /** As asked for: rate and channels may be the source's. */
  public AudioSpec spec() {
    return spec;
  }

  /** Packets of the encoder, those included that only fill it up at either end and are in no file. */
  public long encodedPackets() {
    return packets.get();
  }

  /** Bytes of these packets, with headers of their own where they have any. */
  public long encodedBytes() {
    return bytes.get();
  }

  /** The time of the last packet in milliseconds of the native side; Long.MIN_VALUE before the first. */
  long lastMs() {
    return lastMs.get();
  }

  void packet(long length, long timeMs) {
    packets.add(1);
    bytes.add(length);
    lastMs.set(timeMs);
  }
}
