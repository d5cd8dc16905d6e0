package com.zarvo.qvs.host.session;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import org.junit.jupiter.api.Test;

/** Exact times behind whole milliseconds, and the choice of pictures for a lower rate. */
class TimeTest {
  private static StreamInfo stream(int num, int den) {
    return new StreamInfo("vp8", "yuv420p", 64, 64, new Rational(30, 1), new Rational(num, den), -1);
  }

  private static MediaPacket packet(StreamInfo stream, long pts) {
    return new MediaPacket(MediaKind.VIDEO, new byte[0], pts, stream.toMilliseconds(pts), 0, 0, 0, false);
  }

  @Test
  void millisecondsAreRoundedToTheNearest() {
    StreamInfo ntsc = stream(1001, 30000);
    assertEquals(0, ntsc.toMilliseconds(0));
    assertEquals(33, ntsc.toMilliseconds(1));
    assertEquals(67, ntsc.toMilliseconds(2));
    assertEquals(1001, ntsc.toMilliseconds(30));
    assertEquals(-33, ntsc.toMilliseconds(-1));
    assertEquals(3_600_000, stream(1, 90000).toMilliseconds(90000L * 3600));
  }

  @Test
  void everyTimeOfADropFrameRateComesBackExactly() throws HostException {
    StreamInfo ntsc = stream(1001, 30000);
    TimecodeMap map = new TimecodeMap();
    for (long pts = 0; pts < 100_000; pts++) assertEquals(pts, map.ptsOf(map.assign(packet(ntsc, pts))));
  }

  @Test
  void picturesWithinOneMillisecondStayApart() throws HostException {
    StreamInfo fine = stream(1, 90000);
    TimecodeMap map = new TimecodeMap();
    long first = map.assign(packet(fine, 900));
    long second = map.assign(packet(fine, 910));
    long third = map.assign(packet(fine, 990));
    assertEquals(10, first);
    assertEquals(900, map.ptsOf(first));
    assertEquals(910, map.ptsOf(second));
    assertEquals(990, map.ptsOf(third));
  }

  @Test
  void timesFarBackAreForgottenAndTold() {
    StreamInfo ms = stream(1, 1000);
    TimecodeMap map = new TimecodeMap();
    for (int i = 0; i < 1000; i++) map.assign(packet(ms, i * 40));
    assertThrows(HostException.class, () -> map.ptsOf(0));
    assertThrows(HostException.class, () -> map.ptsOf(41));
  }

  @Test
  void halfTheRateKeepsEveryOtherPicture() {
    FrameRateLimiter limiter = new FrameRateLimiter(15);
    StringBuilder kept = new StringBuilder();
    for (int i = 0; i < 12; i++) kept.append(limiter.keep(Math.round(i * 1000 / 30.0)) ? 'k' : '.');
    assertEquals("k.k.k.k.k.k.", kept.toString());
  }

  @Test
  void theRateHoldsOverALongTime() {
    for (double[] rates : new double[][] {{30, 25}, {30000 / 1001.0, 24}, {50, 29.97}, {25, 25}, {24, 30}}) {
      FrameRateLimiter limiter = new FrameRateLimiter(rates[1]);
      int kept = 0;
      for (int i = 0; i < rates[0] * 100; i++) if (limiter.keep(Math.round(i * 1000 / rates[0]))) kept++;
      assertEquals(Math.min(rates[0], rates[1]) * 100, kept, 2, rates[0] + " to " + rates[1]);
    }
  }

  @Test
  void quantilesAreThoseOfTheLatestCalls() {
    StageTimes times = new StageTimes();
    assertEquals(Double.NaN, times.quantileSeconds(0.5));
    for (int us = 1000; us > 0; us--) times.add(us * 1000L);
    for (double share : new double[] {0.1, 0.5, 0.95, 0.99})
      assertEquals(share / 1000, times.quantileSeconds(share), share / 1000 * 0.07);
    for (int i = 0; i < 3000; i++) times.add(20_000_000);
    assertEquals(0.02, times.quantileSeconds(0.01), 0.0014, "what was before is forgotten");
    times.add(Long.MAX_VALUE);
    assertEquals(4001, times.count());
  }

  @Test
  void afterAGapNoBurstFollows() {
    FrameRateLimiter limiter = new FrameRateLimiter(10);
    int kept = 0;
    limiter.keep(0);
    for (int time = 5000; time < 6000; time += 20) if (limiter.keep(time)) kept++;
    assertEquals(10, kept);
  }
}
