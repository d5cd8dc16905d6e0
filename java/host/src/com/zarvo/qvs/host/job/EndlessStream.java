package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.model.Rational;
import java.util.ArrayList;
import java.util.List;

/** The packets of one stream of a file, round and round: each pass follows the one before without a gap. */
final class EndlessStream {
  private final Rational unit;
  private final List<MediaPacket> packets = new ArrayList<>();
  private long[] shown = {};
  private double passUnits;
  private long passes;
  private int next;

  /** `unit` is that of the packets' times. */
  EndlessStream(Rational unit) {
    this.unit = unit;
  }

  void add(MediaPacket packet) {
    packets.add(packet);
  }

  /** All packets are there: settles the length of a pass by the times of pictures. */
  void closeVideo() {
    shown = packets.stream().filter(packet -> !packet.hidden()).mapToLong(MediaPacket::pts).sorted().toArray();
    int steps = shown.length - 1;
    passUnits = steps > 0 ? Math.round((double) (shown[steps] - shown[0]) * shown.length / steps) : 0;
  }

  /**
   * All sound of the first pass was decoded, and this is how long it was. The times of packets would not do: where a
   * container rounds them, the rounding would grow from pass to pass.
   */
  void closeAudio(double seconds) {
    passUnits = seconds * unit.den() / unit.num();
  }

  boolean goesRound() {
    return passUnits > 0;
  }

  /** Packets of a pass. */
  int size() {
    return packets.size();
  }

  /** Passes that were taken whole. */
  long passes() {
    return passes;
  }

  /** What {@link #take} gives next; null at the end of the first pass as long as its length is not settled. */
  MediaPacket peek() {
    if (passes > 0 && !goesRound()) return null;
    MediaPacket packet = packets.get(next);
    long pts = packet.pts() + offset(passes);
    return packet.at(pts, unit.toMilliseconds(pts));
  }

  MediaPacket take() {
    MediaPacket packet = peek();
    if (++next == packets.size()) {
      next = 0;
      passes++;
    }
    return packet;
  }

  /** Pictures of a pass that are shown. */
  int shownInPass() {
    return shown.length;
  }

  /** Time of the n-th shown picture of all passes. */
  long shownAt(long n) {
    return shown[(int) (n % shown.length)] + offset(n / shown.length);
  }

  double milliseconds(long time) {
    return 1000.0 * time * unit.num() / unit.den();
  }

  private long offset(long pass) {
    return Math.round(pass * passUnits);
  }
}
