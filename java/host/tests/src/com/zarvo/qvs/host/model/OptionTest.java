package com.zarvo.qvs.host.model;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Path;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Values of the options --rendition and --overlay. */
class OptionTest {
  @Test
  void aRenditionCarriesAllThatWasSaid() {
    RenditionSpec spec = RenditionSpec.parse("1280x720@2500k,codec=vp9,fit=stretch,fps=30000/1001,pad=8:8:4:4");
    assertEquals("1280x720", spec.sizeText());
    assertEquals(2_500_000, spec.bitRate());
    assertEquals(VideoCodec.VP9, spec.codec());
    assertEquals(29.97, spec.frameRate(), 0.001);
    assertArrayEquals(new long[] {8, 8, 4, 4}, spec.padding());
    assertTrue(spec.needsPlacement());
  }

  @Test
  void whatIsNotSaidHasItsDefault() {
    RenditionSpec spec = RenditionSpec.parse("640x360");
    assertNull(spec.codec());
    assertEquals(VideoCodec.H264, spec.settled(Container.HLS.usualVideo(), 0, null).codec());
    assertEquals(VideoCodec.VP8, spec.settled(Container.WEBM.usualVideo(), 0, null).codec());
    assertEquals(FitMode.LETTERBOX, spec.fit());
    assertEquals(0, spec.frameRate());
    assertTrue(spec.bitRate() > 200_000 && spec.bitRate() < 1_500_000, "rate " + spec.bitRate());
    assertFalse(spec.needsPlacement());
  }

  @Test
  void aRenditionSaysHowItIsCoded() {
    RenditionSpec spec = RenditionSpec.parse("640x360,preset=medium,profile=main,level=3.1,bframes=2");
    assertEquals(new VideoTuning(VideoTuning.Preset.MEDIUM, VideoTuning.Profile.MAIN, 31, 2, false), spec.tuning());
    assertEquals(9, RenditionSpec.parse("640x360,level=1b").tuning().level());
    RenditionSpec settled = RenditionSpec.parse("640x360,fps=25").settled(VideoCodec.H264, 10, VideoTuning.Preset.FAST);
    assertEquals(VideoTuning.Preset.FAST, settled.tuning().preset());
    assertEquals(25, settled.frameRate());
    RenditionSpec own = spec.settled(VideoCodec.H264, 10, VideoTuning.Preset.FAST);
    assertEquals(VideoTuning.Preset.MEDIUM, own.tuning().preset());
    assertEquals(10, own.frameRate());
    assertEquals(2, spec.settled(VideoCodec.H264, 10, null, true).tuning().bFramesOf(VideoCodec.H264), "as asked for");
    RenditionSpec h265 = RenditionSpec.parse("640x360,codec=h265").settled(VideoCodec.H264, 0, null);
    assertEquals(RenditionSpec.parse("640x360,codec=hevc,preset=superfast"), h265, "the codec has its own usual speed");
  }

  @Test
  void ratesHaveUnits() {
    assertEquals(800_000, RenditionSpec.parse("640x360@800k").bitRate());
    assertEquals(1_500_000, RenditionSpec.parse("640x360@1.5M").bitRate());
    assertEquals(90_000, RenditionSpec.parse("640x360@90000").bitRate());
  }

  @ParameterizedTest
  @ValueSource(
      strings = {
        "", "x", "640", "640x", "641x360", "640x0", "999999x2", "640x360@", "640x360@0k", "640x360@5g",
        "640x360@99999999m", "640x360,codec=h266", "640x360,codec=h265,profile=high",
        "640x360,codec=h265,level=1.1", "640x360,codec=vp8,preset=fast", "640x360,preset=hasty", "640x360,level=9",
        "640x360,profile=baseline,bframes=2", "640x360,bframes=99", "640x360,codec", "640x360,fit=cover", "640x360,fps=-1",
        "640x360,fps=1/0", "640x360,fps=NaN", "640x360,size=3", "640x360,crop=1:2:3", "640x360,crop=1:2:3:-4",
        "640x360,pad=400:400:0:0,fit=stretch", "640x360,pad=8:8:8:8", "640x360,pad=8:8:8:8,fit=fill", "-640x360"
      })
  void aBadRenditionIsRefusedInOneLine(String text) {
    String message = assertThrows(IllegalArgumentException.class, () -> RenditionSpec.parse(text)).getMessage();
    assertFalse(message.isEmpty() || message.contains("\n"), message);
  }

  @Test
  void anOverlayCarriesAllThatWasSaid() {
    OverlaySpec spec = OverlaySpec.parse("a/logo.png,align=bottom-right,x=20,y=-3,width=64,on=2");
    assertEquals(new OverlaySpec(Path.of("a/logo.png"), Align.BOTTOM_RIGHT, 20, -3, 64, 0, 2), spec);
    OverlaySpec plain = OverlaySpec.parse("logo.png");
    assertEquals(OverlaySpec.ON_DECODER, plain.rendition());
    assertEquals(Align.TOP_LEFT, plain.align());
  }

  @ParameterizedTest
  @ValueSource(strings = {"", ",x=1", "a.png,align=middle", "a.png,x=1.5", "a.png,on=-2", "a.png,on=", "a.png,width=0"})
  void aBadOverlayIsRefused(String text) {
    assertThrows(IllegalArgumentException.class, () -> OverlaySpec.parse(text));
  }

  @Test
  void alignmentBitsNameOneColumnAndOneRow() {
    for (Align align : Align.values()) {
      assertEquals(1 << align.column(), align.bits & 0x0f, align.label());
      assertEquals(0x10 << align.row(), align.bits & 0xf0, align.label());
      assertEquals(align, Align.of(align.label()));
    }
  }
}
