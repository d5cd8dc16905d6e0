package com.zarvo.qvs.host.job;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.support.Beeps;
import com.zarvo.qvs.host.support.Clips;
import java.nio.file.Path;
import java.util.Map;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** A file that goes round without end. */
class EndlessTest {
  @TempDir static Path folder;

  private static MediaPacket at(long pts, Rational unit) {
    return new MediaPacket(MediaKind.VIDEO, new byte[0], pts, unit.toMilliseconds(pts), 0, 0, 0, true);
  }

  @Test
  void passesFollowEachOtherWithoutAGap() {
    Rational unit = new Rational(1, 90_000);
    EndlessStream frames = new EndlessStream(unit);
    for (long pts : new long[] {6006, 15015, 9009, 12012}) frames.add(at(pts, unit)); // in the order of coding
    frames.closeVideo();
    for (int i = 0; i < 4_000_000; i++) frames.take();
    assertEquals(6006 + 12012L * 1_000_000, frames.peek().pts());
    assertEquals(6006 + 3003 * 4_000_003L, frames.shownAt(4_000_003));
    EndlessStream audio = new EndlessStream(unit);
    for (long pts : new long[] {0, 2090, 4180}) audio.add(at(pts, unit)); // 1024 samples at 44100 Hz, rounded
    for (int i = 0; i < 3; i++) audio.take();
    audio.closeAudio(3 * 1024 / 44_100.0);
    for (int i = 0; i < 3 * 999_999; i++) audio.take();
    assertEquals(Math.round(3_000_000L * 1024 / 44_100.0 * 90_000), audio.peek().pts());
  }

  @ParameterizedTest
  @CsvSource({"round.mp4", "round.ts", "round.flv"})
  void whatComesOutKeepsItsTimes(String name) throws Exception {
    Path source =
        Clips.make(
            "-f lavfi -i testsrc2=size=320x240:rate=30000/1001 -f lavfi -i " + Beeps.source(44_100, 1)
                + " -t 1 -c:v libx264 -preset ultrafast -bf 2 -c:a aac",
            folder.resolve(name));
    try (EndlessSession session = new EndlessSession(source, true)) {
      for (int i = 0; i < 30; i++) session.pass();
      assertTrue(session.videoIsRight(), session.contents());
      for (Map.Entry<String, Double> drift : session.drifts().entrySet())
        assertEquals(0, drift.getValue(), 2, name + ": " + session.drifts());
    }
  }
}
