package com.zarvo.qvs.api;

import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import java.util.List;

/**
 * What a ladder has done so far.
 *
 * @param pictures decoded
 * @param damagedPictures refused, mended or left out by the decoder
 * @param damagedSound packets of sound that could not be decoded
 * @param seconds of input that were taken
 * @param speed seconds of input a second of work
 */
public record LadderStatistics(
    long pictures, long damagedPictures, long damagedSound, double seconds, double speed, List<Of> rungs) {

  /**
   * One rung.
   *
   * @param name its size
   * @param taken pictures that went to its encoder
   * @param packets coded pictures that came out
   * @param dropped pictures that its frame rate leaves out
   * @param waiting pictures that the encoder has and hasn't answered
   * @param bytes coded
   * @param replacements encoders that took another's place
   */
  public record Of(
      String name, long taken, long packets, long dropped, long waiting, long bytes, long replacements) {
    private static Of of(RungCounters rung) {
      return new Of(
          rung.label(), rung.picturesIn(), rung.pictures(), rung.droppedPictures(), rung.queueDepth(), rung.bytes(),
          rung.replacements());
    }
  }

  static LadderStatistics of(SessionCounters counters) {
    return new LadderStatistics(
        counters.pictures(), counters.damagedPictures(), counters.damagedAudioPackets(), counters.mediaMs() / 1000.0,
        counters.speed(), counters.rungs().stream().map(Of::of).toList());
  }
}
