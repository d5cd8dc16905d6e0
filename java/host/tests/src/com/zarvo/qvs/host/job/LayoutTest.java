package com.zarvo.qvs.host.job;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.OverlayPlacement;
import java.awt.Rectangle;
import java.awt.image.BufferedImage;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

/** Where things lie: overlays on pictures, rungs in a ladder, pictures in a strip, values in a report. */
class LayoutTest {
  private static OverlayPlacement place(String spec, int width, int height, int frameWidth, int frameHeight) {
    return new OverlayPlacement(OverlaySpec.parse("a.png" + spec), width, height, frameWidth, frameHeight);
  }

  @Test
  void distancesCountFromTheAlignedEdge() {
    OverlayPlacement corner = place(",align=bottom-right,x=20,y=10", 200, 100, 1280, 720);
    assertEquals(new Rectangle(1060, 610, 200, 100), corner.areaOn(1280, 720));
    OverlayPlacement middle = place(",align=center,x=8", 200, 100, 1280, 720);
    assertEquals(new Rectangle(548, 310, 200, 100), middle.areaOn(1280, 720));
    OverlayPlacement cut = place(",x=-50", 200, 100, 1280, 720);
    assertEquals(new Rectangle(0, 0, 150, 100), cut.areaOn(1280, 720));
  }

  @Test
  void anOverlayLargerThanThePictureIsShrunkInItsAspect() {
    OverlayPlacement wide = place("", 2000, 500, 1000, 720);
    assertEquals(1000, wide.width);
    assertEquals(250, wide.height);
    OverlayPlacement tiny = place("", 3000, 1, 32, 32);
    assertEquals(32, tiny.width);
    assertEquals(1, tiny.height);
    OverlayPlacement oneSide = place(",width=50", 200, 100, 1280, 720);
    assertEquals(25, oneSide.height);
  }

  private static String ladder(int width, int height) {
    StreamInfo source =
        new StreamInfo("vp8", "yuv420p", width, height, new Rational(30, 1), new Rational(1, 1000), -1);
    List<String> sizes = new ArrayList<>();
    for (RenditionSpec rung : DefaultLadder.of(source)) sizes.add(rung.sizeText());
    return String.join(" ", sizes);
  }

  @Test
  void theLadderStartsAtTheSourceAndGoesDown() {
    assertEquals("1280x720 854x480 640x360", ladder(1280, 720));
    assertEquals("720x1280 480x854 360x640", ladder(720, 1280));
    assertEquals("3840x2160 1920x1080 1280x720 854x480 640x360", ladder(3840, 2160));
    assertEquals("642x362", ladder(642, 362));
    assertEquals("174x142", ladder(175, 143));
    assertEquals("32x32", ladder(1, 1));
  }

  @Test
  void noTwoRungsAreAlikeAndAllLaddersEndLow() {
    for (int width = 400; width <= 8192; width += 394)
      for (int height = 300; height <= 4320; height += 158) {
        String[] rungs = ladder(width, height).split(" ");
        String what = width + "x" + height + ": " + String.join(" ", rungs);
        assertTrue(rungs.length <= 5, what);
        double last = Double.MAX_VALUE;
        for (String rung : rungs) {
          int cross = rung.indexOf('x');
          double pixels = Double.parseDouble(rung.substring(0, cross)) * Integer.parseInt(rung.substring(cross + 1));
          assertTrue(pixels <= last * 0.667, what);
          last = pixels;
        }
        int shorter = Math.min(width, height);
        if (shorter > 360 * 1.3) assertTrue(List.of(rungs[rungs.length - 1].split("x")).contains("360"), what);
      }
  }

  @Test
  void slowWorkIsToldOnceAndSoIsItsEnd() {
    PaceWatch watch = new PaceWatch();
    List<String> said = new ArrayList<>();
    long mediaMs = 0;
    // Work on 40 ms of input takes 20 ms, then 50 ms, then 20 ms, each for 40 s of input.
    for (int part = 0; part < 3; part++)
      for (int i = 0; i < 1000; i++) {
        mediaMs += 40;
        String line = watch.worked((part == 1 ? 50 : 20) * 1_000_000L, mediaMs);
        if (line != null) said.add(line);
      }
    assertEquals(2, said.size(), said.toString());
    assertTrue(said.get(0).contains("slower than real time (0.80x at 44 s)"), said.get(0));
    assertTrue(said.get(1).contains("in real time again"), said.get(1));
    assertEquals(0.8, watch.slowest(), 1e-9);
    assertEquals(50, watch.behindSeconds(), 5);
  }

  @Test
  void aStripSpreadsItsPicturesOverAnyLength() {
    for (long length : new long[] {100, 3000, 60_000, 3_600_000}) {
      FrameStrip strip = new FrameStrip();
      for (long time = 0; time < length; time += 40)
        if (strip.wants(time)) strip.add(time, new BufferedImage(1, 1, BufferedImage.TYPE_INT_RGB));
      List<FrameStrip.Shot> shots = strip.pick(5);
      assertEquals(0, shots.get(0).timecode());
      assertTrue(length < 3000 || shots.size() == 5, length + ": " + shots.size());
      long last = shots.get(shots.size() - 1).timecode();
      assertTrue(length < 3000 || last > length * 0.45, length + ": last at " + last);
    }
  }

  @Test
  void aReportIsValidJson() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("quote\"", "back\\slash\nline\u0001");
    map.put("numbers", List.of(1, 2L, 0.5, Double.NaN));
    map.put("empty", Map.of());
    map.put("nothing", null);
    assertEquals(
        "{\n  \"quote\\\"\": \"back\\\\slash\\nline\\u0001\",\n  \"numbers\": [\n    1,\n    2,\n    0.5000,\n"
            + "    null\n  ],\n  \"empty\": {},\n  \"nothing\": null\n}\n",
        Json.write(map));
  }
}
