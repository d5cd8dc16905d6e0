package com.zarvo.qvs.transcoder.test;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import java.lang.reflect.Array;
import java.util.ArrayList;
import java.util.List;
import java.util.Set;
import org.junit.jupiter.api.Assumptions;
import org.junit.jupiter.api.Test;

/** A server whose model classes lack something: a number comes back, and no exception. */
class MissingFieldsTest {
  private static final long YV12 = Library.fourcc("YV12");

  private static Variant without(String... stripped) throws Exception {
    return Variant.of(Set.of(stripped), Set.of());
  }

  private static long session(Variant variant) throws ReflectiveOperationException {
    return (Long) variant.call("createInstance");
  }

  @Test
  void holderWithoutValue() throws Exception {
    Variant variant = without("TranscoderNativeLong");
    long session = session(variant);
    Object holder = variant.make("model.TranscoderNativeLong");
    assertEquals(-1L, variant.call("videoEncoderAdd", session, 8, 8, 8, YV12, 0, null, holder));
    assertEquals(-1L, variant.call("videoEncoderBufferSetAlloc", session, holder));
    assertEquals(Library.FAILED, variant.call("videoDecoderDecode", session, 0, holder, holder, null));
    assertEquals(0L, variant.call("destroyInstance", session));
  }

  @Test
  void logStatementKeepsWhatItHas() throws Exception {
    Variant variant = without("TranscoderLogStatement");
    long session = session(variant);
    variant.call("videoScalerInitialize", session);
    List<Object> lines = new ArrayList<>();
    assertEquals(0L, variant.call("getLogStatements", session, lines));
    Object last = lines.get(lines.size() - 1);
    assertEquals(List.of(77L, 8), List.of(Variant.get(last, "level"), Variant.get(last, "contextType")));
    assertEquals(
        "TranscoderSession.videoScalerInitialize[{context}]: Initialize video scaler: default",
        Variant.get(last, "statement"));
    variant.call("destroyInstance", session);
  }

  @Test
  void classThatDoesNotExist() throws Exception {
    Variant variant = Variant.of(Set.of(), Set.of("TranscoderLogStatement"));
    long session = session(variant);
    variant.call("videoScalerInitialize", session);
    List<Object> lines = new ArrayList<>();
    assertEquals(-1L, variant.call("getLogStatements", session, lines));
    assertEquals(List.of(), lines);
    variant.call("destroyInstance", session);
  }

  @Test
  void parametersWithoutAField() throws Exception {
    Variant variant = without("TranscoderNativeParameterValue");
    long session = session(variant);
    Object value = variant.make("model.TranscoderNativeParameterValue");
    Object array = Array.newInstance(value.getClass(), 1);
    Array.set(array, 0, value);
    Variant.set(value, "settingIndex", 100033);
    long encoder = addEncoder(variant, session);
    assertEquals(0L, variant.call("videoEncoderSetParameterValues", session, encoder, array));
    assertEquals(0L, variant.call("videoEncoderGetParameterValues", session, encoder, array));
    assertEquals(0, Variant.get(value, "dataType"), "untouched");
    variant.call("destroyInstance", session);
  }

  @Test
  void resamplerParametersWithoutMasks() throws Exception {
    Variant variant = without("TranscoderNativeAudioResamplerParameters");
    long session = session(variant);
    Object parameters = variant.make("model.TranscoderNativeAudioResamplerParameters");
    boolean there = (Long) variant.call("audioDecoderCreate", session, 0, 7, 0, null) == 0;
    assertEquals(-1L, variant.call("audioDecoderAddAudioResampler", session, parameters));
    variant.call("destroyInstance", session);
    Assumptions.assumeTrue(there, "skipped: no A-law in this build");
  }

  @Test
  void streamContextWithoutNames() throws Exception {
    Variant variant = without("TranscoderNativeStreamContext");
    Object context = variant.make("model.TranscoderNativeStreamContext");
    Variant.set(context, "streamName", "name");
    long session = (Long) variant.call("createInstance", context);
    assertEquals(0L, variant.call("destroyInstance", session));
  }

  @Test
  void packetsThatCannotBeMadeLeaveTheListAlone() throws Exception {
    Variant variant = without("TranscoderPacket");
    long session = session(variant);
    List<Object> packets = new ArrayList<>();
    encodeInto(variant, session, packets);
    assertEquals(List.of(), packets);
    variant.call("destroyInstance", session);
  }

  @Test
  void picturesWithoutAField() throws Exception {
    Variant variant = without("TranscoderNativeVideoFrame");
    long session = session(variant);
    addEncoder(variant, session);
    Object picture = variant.make("model.TranscoderNativeVideoFrame");
    assertEquals(-1L, variant.call("videoEncoderBufferGetVideoFrame", session, 0, 0, picture));
    assertNull(Variant.get(picture, "bytes"));
    Variant.set(picture, "bytes", new byte[64]);
    assertEquals(0L, variant.call("videoEncoderBufferSetOverlayVideoFrame", session, 0, 1, picture));
    variant.call("destroyInstance", session);
  }

  @Test
  void frameInfoIsWrittenWholeOrNotAtAll() throws Exception {
    Variant variant = without("TranscoderNativeVideoDecodeFrameInfo");
    long session = session(variant);
    Object info = variant.make("model.TranscoderNativeVideoDecodeFrameInfo");
    Object status = variant.make("model.TranscoderNativeLong");
    Object timecode = variant.make("model.TranscoderNativeLong");
    Variant.set(status, "value", 9L);
    assertEquals(Library.FAILED, variant.call("videoDecoderDecode", session, 0, status, timecode, info));
    assertEquals(77L, Variant.get(info, "frameWidth"));
    assertEquals(List.of(0L, -1L), List.of(Variant.get(status, "value"), Variant.get(timecode, "value")));
    variant.call("destroyInstance", session);
  }

  @Test
  void thumbnailRequestNamesTheFirstMissingField() throws Exception {
    Variant variant = without("ThumbnailerRequest");
    long session = session(variant);
    Object request = variant.make("thumbnailer.ThumbnailerRequest");
    Object response = variant.make("thumbnailer.ThumbnailerResponse");
    assertEquals(0L, variant.call("thumbnailerGetVideoFrame", session, request, response));
    List<Object> lines = new ArrayList<>();
    variant.call("getLogStatements", session, lines);
    assertEquals(
        "TranscoderSessionNative::thumbnailerGetVideoFrame: Request field not found: implementation",
        Variant.get(lines.get(lines.size() - 1), "statement"));
    variant.call("destroyInstance", session);
  }

  /** A VP8 encoder of 64x64 with one set of two pictures, number 0 both. */
  private static long addEncoder(Variant variant, long session) throws ReflectiveOperationException {
    Object holder = variant.make("model.TranscoderNativeLong");
    Variant.set(holder, "value", -1L);
    assertEquals(0L, variant.call("videoEncoderAdd", session, 8, 8, 8, YV12, 0, null, holder));
    variant.call("videoEncoderBufferSetsCreate", session, 2);
    variant.call("videoEncoderSetDefaults", session, 0, 0, 0);
    variant.call("videoEncoderSetFrameSize", session, 0, 64, 64);
    variant.call("videoEncoderSetFrameRate", session, 0, 25.0);
    variant.call("videoEncoderSetBitrate", session, 0, 100_000);
    assertEquals(0L, variant.call("videoEncoderBufferSetAlloc", session, holder));
    variant.call("videoEncoderSetFrameIndex", session, 0, 0);
    assertEquals(0L, variant.call("videoEncoderBufferAdd", session, 64, 64, 3, YV12, 0, 0));
    assertEquals(0L, variant.call("videoEncoderInitialize", session, 0));
    return 0;
  }

  private static void encodeInto(Variant variant, long session, List<Object> packets)
      throws ReflectiveOperationException {
    addEncoder(variant, session);
    long target = (Long) variant.call("videoEncoderBufferAllocate", session, 0);
    assertEquals(0L, variant.call("videoEncoderAddFrame", session, 0, target, 0, 1, 0));
    assertEquals(0L, variant.call("videoEncoderGetEncodedFrames", session, 0, packets));
    variant.call("videoEncoderBufferRelease", session, 0, target);
  }
}
