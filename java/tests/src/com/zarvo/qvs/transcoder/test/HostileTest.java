package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequest;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerRequestPacket;
import com.zarvo.qvs.transcoder.thumbnailer.ThumbnailerResponse;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Random;
import java.util.Set;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Input that a host should not send, on a live session that must go on afterwards. */
class HostileTest {
  private static SessionDriver driver;
  private static List<byte[]> clip;

  @BeforeAll
  static void open() throws Exception {
    clip = Ivf.halves(320, 180, 3);
    driver = new SessionDriver(160, 90);
  }

  @AfterAll
  static void goodFrameStillComesOutRight() {
    long picture = driver.decode(clip.get(0), 0, Library.KEY_FRAME);
    SessionDriver.assertHalves(driver.encode(picture, 0, Library.KEY_FRAME));
    videoDecoderBufferRelease(driver.handle, picture);
    driver.close();
  }

  @Test
  void codedBytesOutsideTheirArrayAreRefused() {
    byte[] coded = clip.get(0);
    long[][] parts = {
      {-1, 4}, {0, -1}, {0, coded.length + 1L}, {coded.length, 1}, {1, coded.length}, {Long.MAX_VALUE, Long.MAX_VALUE},
      {Integer.MAX_VALUE, 16}, {1L << 32, 4}, {0, 1L << 32}
    };
    for (long[] part : parts) {
      assertEquals(-1, videoDecoderAddFrame(driver.handle, coded, part[0], part[1], 0, 1));
      assertEquals(-1, videoDecoderDecodeCodecConfig(driver.handle, coded, part[0], part[1]));
      assertEquals(-1, audioDecoderDecodeFrame(driver.handle, coded, part[0], part[1], 0, 0));
      assertEquals(-1, audioDecoderDecodeFirstFrame(driver.handle, coded, part[0], part[1]));
      assertEquals(-1, audioDecoderDecodeCodecConfig(driver.handle, coded, part[0], part[1]));
    }
    assertEquals(-1, videoDecoderAddFrame(driver.handle, null, 0, 1, 0, 1));
  }

  @ParameterizedTest
  @ValueSource(ints = {0, 1, 2, 3, 4, 5, 9, 1000})
  void rectanglesOfAnyLengthAreTaken(int length) {
    long[] rect = new long[length];
    for (int i = 0; i < length; ++i) rect[i] = i % 2 == 0 ? Long.MAX_VALUE : -1;
    assertEquals(0, videoEncoderBufferSetCrop(driver.handle, driver.set, rect));
    assertEquals(0, videoEncoderBufferSetSourceRect(driver.handle, driver.set, rect));
    assertEquals(0, videoEncoderBufferSetPadding(driver.handle, driver.set, rect));
    assertEquals(0, videoEncoderBufferSetDestinationRect(driver.handle, driver.set, rect));
    clearRectangles();
  }

  private static void clearRectangles() {
    for (long set : new long[] {driver.set, -1, 77, 1L << 40}) {
      assertEquals(0, videoEncoderBufferSetCrop(driver.handle, set, null));
      assertEquals(0, videoEncoderBufferSetSourceRect(driver.handle, set, null));
      assertEquals(0, videoEncoderBufferSetPadding(driver.handle, set, null));
      assertEquals(0, videoEncoderBufferSetDestinationRect(driver.handle, set, null));
    }
  }

  @Test
  void listsOfTargetsMayHaveAnyLength() {
    long picture = driver.decode(clip.get(0), 0, Library.KEY_FRAME);
    for (long[] indexes : new long[][] {null, {}, {-1}, {99}, {Long.MIN_VALUE}}) {
      assertEquals(0, videoDecoderTransferFrameStart(driver.handle, picture, indexes));
    }
    assertEquals(Library.FAILED, videoDecoderTransferFrameStart(driver.handle, picture, new long[2]));
    assertEquals(Library.FAILED, videoDecoderTransferFrameStart(driver.handle, picture, new long[100_000]));
    assertEquals(Library.FAILED, videoScalerScaleFrame(driver.handle, picture, new long[100_000], 1, null));
    videoDecoderBufferRelease(driver.handle, picture);
  }

  @Test
  void overlaysThatTheirBytesDoNotCoverAreNotDrawn() {
    long bgra = Library.fourcc("BGRA");
    Object[][] cases = {
      // fourcc, bytes, stride, start, width, height
      {bgra, null, 400L, 0L, 100, 100},
      {bgra, new byte[0], 400L, 0L, 100, 100},
      {bgra, new byte[100], 400L, 0L, 100, 100},
      {bgra, new byte[40_000], 400L, 1L, 100, 100},
      {bgra, new byte[40_000], 400L, -4L, 100, 100},
      {bgra, new byte[40_000], -400L, 0L, 100, 100},
      {bgra, new byte[40_000], 4_294_967_295L, 0L, 100, 100},
      {bgra, new byte[40_000], 399L, 0L, 100, 100},
      {bgra, new byte[40_000], 1L << 31, 0L, 100, 3},
      {bgra, new byte[40_000], 400L, 0L, -1, -1},
      {bgra, new byte[40_000], 400L, 0L, Integer.MAX_VALUE, Integer.MAX_VALUE},
      {bgra, new byte[40_000], 0L, 0L, 100, 100},
      {0x12345678L, new byte[40_000], 400L, 0L, 100, 100},
    };
    for (Object[] c : cases) {
      TranscoderNativeVideoFrame overlay = new TranscoderNativeVideoFrame();
      overlay.fourcc = (Long) c[0];
      overlay.bytes = (byte[]) c[1];
      overlay.stride = (Long) c[2];
      overlay.frameStartOffset = (Long) c[3];
      overlay.width = (Integer) c[4];
      overlay.height = (Integer) c[5];
      overlay.dstWidth = 32;
      overlay.dstHeight = 32;
      overlay.dstAlign = 17;
      assertEquals(0, videoDecoderBufferSetOverlayVideoFrame(driver.handle, 3, overlay));
      assertEquals(0, videoEncoderBufferSetOverlayVideoFrame(driver.handle, driver.set, 3, overlay));
      long picture = driver.decode(clip.get(0), 0, Library.KEY_FRAME);
      SessionDriver.assertHalves(driver.encode(picture, 0, Library.KEY_FRAME));
      videoDecoderBufferRelease(driver.handle, picture);
    }
    assertEquals(0, videoDecoderBufferSetOverlayVideoFrame(driver.handle, 3, null));
    assertEquals(0, videoEncoderBufferSetOverlayVideoFrame(driver.handle, driver.set, 3, null));
    assertEquals(0, videoEncoderBufferSetOverlayVideoFrame(driver.handle, 99, 3, null));
  }

  @Test
  void parametersOfEveryTypeAreTaken() {
    List<TranscoderNativeParameterValue> list = new ArrayList<>();
    for (int key : new int[] {0, 100033, 10003, -1, Integer.MAX_VALUE}) {
      for (int type = -1; type <= 6; ++type) {
        TranscoderNativeParameterValue value = SessionDriver.number(key, Long.MIN_VALUE);
        value.dataType = type;
        value.larValue = type == 2 ? new long[1000] : null;
        value.darValue = type == 4 ? new double[] {Double.NaN} : null;
        list.add(value);
      }
    }
    list.add(3, null);
    TranscoderNativeParameterValue[] all = list.toArray(new TranscoderNativeParameterValue[0]);
    for (TranscoderNativeParameterValue[] array : new TranscoderNativeParameterValue[][] {null, {}, {null}}) {
      assertEquals(0, videoDecoderSetParameterValues(driver.handle, array));
      assertEquals(0, videoEncoderGetParameterValues(driver.handle, driver.encoder, array));
      assertEquals(0, videoEncoderSetParameterValues(driver.handle, 12345, array));
    }
    assertEquals(0, videoDecoderSetParameterValues(driver.handle, all));
    assertEquals(0, videoDecoderGetParameterValues(driver.handle, all));
    assertEquals(-1, audioDecoderSetParameterValues(driver.handle, all));
    assertEquals(-1, audioEncoderGetParameterValues(driver.handle, 0, all));

    TranscoderNativeParameterValue unknown = SessionDriver.number(77, 5);
    unknown.dataType = 3;
    TranscoderNativeParameterValue known = SessionDriver.number(100033, 5);
    known.dataType = 0;
    videoEncoderSetParameterValues(driver.handle, driver.encoder, new TranscoderNativeParameterValue[] {SessionDriver.number(100033, -8)});
    videoEncoderGetParameterValues(driver.handle, driver.encoder, new TranscoderNativeParameterValue[] {unknown, null, known});
    assertEquals(List.of(3, 5L), List.of(unknown.dataType, unknown.lValue), "an unknown key stays as it was");
    assertEquals(List.of(1, -8L), List.of(known.dataType, known.lValue));
  }

  @Test
  void packetListsThatRefuseAreTheHostsOwnBusiness() {
    long picture = driver.decode(clip.get(0), 0, Library.KEY_FRAME);
    long target = videoEncoderBufferAllocate(driver.handle, driver.set);
    videoDecoderTransferFrameStart(driver.handle, picture, new long[] {target});
    videoDecoderTransferFrameSingle(driver.handle, picture, target, driver.set);
    for (List<TranscoderPacket> list : new ArrayList<>(java.util.Arrays.asList(null, Collections.<TranscoderPacket>emptyList()))) {
      assertEquals(0, videoEncoderAddFrame(driver.handle, driver.encoder, target, driver.set, Library.KEY_FRAME, 0));
      boolean refused = false;
      try {
        assertEquals(0, videoEncoderGetEncodedFrames(driver.handle, driver.encoder, list));
      } catch (UnsupportedOperationException e) {
        refused = true;
      }
      assertEquals(list != null, refused);
    }
    videoEncoderBufferRelease(driver.handle, driver.set, target);
    videoDecoderBufferRelease(driver.handle, picture);
  }

  @Test
  void audioBlocksAreBounded() {
    audioDecoderBuffersCreate(driver.handle, 1);
    assertEquals(0, audioDecoderBuffersAllocate(driver.handle, 100, 2, 48000));
    TranscoderNativeAudioFrame frame = new TranscoderNativeAudioFrame();
    assertEquals(0, audioDecoderGetAudioFrame(driver.handle, 0, frame));
    assertEquals(List.of(48000L, 2L, 100L, 400), List.of(frame.sampleRate, frame.channels, frame.sampleCount, frame.buffer.length));
    frame.buffer[399] = 17;
    assertEquals(0, audioDecoderUpdateAudioFrame(driver.handle, 0, frame));
    TranscoderNativeAudioFrame again = new TranscoderNativeAudioFrame();
    assertEquals(0, audioDecoderGetAudioFrame(driver.handle, 0, again));
    assertEquals(17, again.buffer[399]);

    frame.buffer = new byte[399];
    assertEquals(-1, audioDecoderUpdateAudioFrame(driver.handle, 0, frame), "too short");
    frame.buffer = null;
    assertEquals(-1, audioDecoderUpdateAudioFrame(driver.handle, 0, frame), "none");
    frame.buffer = new byte[400];
    frame.sampleRate = 44100;
    assertEquals(-1, audioDecoderUpdateAudioFrame(driver.handle, 0, frame), "other rate");
    frame.sampleRate = 48000;
    frame.sampleCount = (1L << 31) + 50;
    frame.channels = 1L << 31;
    assertEquals(-1, audioDecoderUpdateAudioFrame(driver.handle, 0, frame), "product beyond 64 bits of bytes");
    assertEquals(-1, audioDecoderGetAudioFrame(driver.handle, 1, frame));
    assertEquals(-1, audioEncoderGetAudioFrame(driver.handle, 0, 0, frame));
  }

  @Test
  void thumbnailRequestsEndWithAnEmptyResponseAndALine() {
    ThumbnailerRequest request = new ThumbnailerRequest();
    ThumbnailerResponse response = new ThumbnailerResponse();
    request.codec = 3;
    String[] expected = {": Request class not found", ": Response class not found", null, ": No packets to decode", ": Unsupported codec: 3"};
    Object[][] calls = {{null, response}, {request, null}, {request, response}, {request, response}, {request, response}};
    for (int i = 0; i < calls.length; ++i) {
      if (i == 3) request.packets = new ThumbnailerRequestPacket[0];
      if (i == 4) {
        request.packets = new ThumbnailerRequestPacket[] {new ThumbnailerRequestPacket(), null};
        request.packets[0].packetData = ByteBuffer.allocateDirect(8);
      }
      Library.logs(driver.handle);
      assertEquals(0, thumbnailerGetVideoFrame(driver.handle, (ThumbnailerRequest) calls[i][0], (ThumbnailerResponse) calls[i][1]));
      var lines = Library.logs(driver.handle);
      assertEquals(expected[i] == null ? 0 : 1, lines.size());
      if (expected[i] != null) assertEquals("TranscoderSessionNative::thumbnailerGetVideoFrame" + expected[i], lines.get(0).statement);
      assertEquals(null, response.pictureData);
    }
  }

  /** These make objects by the number given, end the session, or wait on purpose. */
  private static final Set<String> SIZED =
      Set.of(
          "createInstance", "destroyInstance", "resetPipeline", "initInstance", "nativeInitialize",
          "videoDecoderBuffersCreate", "videoEncoderBufferSetsCreate", "videoEncoderBufferSetAlloc",
          "videoEncoderBufferAdd", "audioDecoderBuffersCreate", "audioDecoderBuffersAllocate");

  private static final long[] EXTREMES = {
    Long.MIN_VALUE, -1, 0, 1, 2, 3, 100, Integer.MAX_VALUE, 1L << 31, (1L << 32) - 1, 1L << 32, Long.MAX_VALUE
  };

  /** Every native with drawn extremes on a session of its own; the only claim is that the machine survives. */
  @Test
  void everyNativeSurvivesExtremes() throws ReflectiveOperationException {
    Random random = new Random(20240607);
    int calls = 0;
    for (int round = 0; round < 3; ++round) {
      try (SessionDriver own = new SessionDriver(64, 64)) {
        List<Method> methods = new ArrayList<>(List.of(TranscoderSessionNative.class.getDeclaredMethods()));
        methods.removeIf(m -> !Modifier.isNative(m.getModifiers()) || SIZED.contains(m.getName()));
        methods.sort((a, b) -> a.toString().compareTo(b.toString()));
        Collections.shuffle(methods, random);
        for (Method method : methods) {
          for (int i = 0; i < 20; ++i, ++calls) method.invoke(null, arguments(method, own.handle, random));
        }
        Library.logs(own.handle);
      }
    }
    assertTrue(calls > 5000);
  }

  private static Object[] arguments(Method method, long handle, Random random) throws ReflectiveOperationException {
    Class<?>[] types = method.getParameterTypes();
    Object[] arguments = new Object[types.length];
    for (int i = 0; i < types.length; ++i) arguments[i] = draw(types[i], random);
    boolean ofSession = method.getName().matches("(video|audio|thumbnailer|vod|getLog).*");
    if (ofSession) arguments[0] = handle;
    return arguments;
  }

  private static Object draw(Class<?> type, Random random) throws ReflectiveOperationException {
    if (type == long.class) return EXTREMES[random.nextInt(EXTREMES.length)];
    if (type == double.class) return new double[] {0, -1, 25, Double.NaN, Double.POSITIVE_INFINITY}[random.nextInt(5)];
    if (type == boolean.class) return random.nextBoolean();
    if (random.nextInt(4) == 0) return null;
    if (type == byte[].class) return new byte[random.nextInt(40)];
    if (type == long[].class) return new long[random.nextInt(6)];
    if (type == String.class) return "x".repeat(random.nextInt(600));
    if (type == List.class) return new ArrayList<>();
    if (type.isArray()) return java.lang.reflect.Array.newInstance(type.getComponentType(), random.nextInt(3));
    return type.getDeclaredConstructor().newInstance();
  }
}
