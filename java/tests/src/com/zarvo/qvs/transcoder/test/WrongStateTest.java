package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderLogStatement;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.lang.reflect.Method;
import java.util.Arrays;
import java.util.List;
import java.util.TreeSet;
import java.util.function.LongUnaryOperator;
import java.util.stream.Collectors;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** A failure is a number and a line of the session's log. */
class WrongStateTest {
  /**
   * Every native that takes a session, on one that has nothing yet, with zeros and nulls: what it answers (F is the
   * session's failure, -1 the call's own), what the log says where that is a failure, and below that the natives.
   */
  private static final String BARE =
      """
      0
        audioDecoderBuffersAllocate audioDecoderBuffersCreate audioDecoderGetParameterValues
        audioDecoderIsFirstFrameDecoded audioDecoderSetParameterValues audioEncoderGetParameterValues
        audioEncoderSetParameterValues initInstance resetPipeline videoDecoderBufferSetOverlayVideoFrame
        videoDecoderBuffersCreate videoDecoderGetParameterValues videoDecoderSetFrameSizeLimits
        videoDecoderSetParameterValues videoEncoderBufferSetsCreate videoEncoderGetParameterValues
        videoEncoderPreprocessFrame videoEncoderSetParameterValues videoScalerCreate videoScalerFreeFrame
        videoScalerInitialize videoScalerSetFlags videoScalerSetImplementation
      -1 The settings can't be read
        vodTranscoderGetCodecConfig
      -1 There are no packets
        vodTranscoderTranscodeFrames
      -1 There is no work behind this call
        vodEncoderRun
      -1 The audio frame's object lacks a field
        audioDecoderGetAudioFrame audioDecoderUpdateAudioFrame audioEncoderGetAudioFrame audioEncoderUpdateAudioFrame
      -1 The object for the number lacks its field
        audioEncoderAdd videoEncoderAdd videoEncoderBufferSetAlloc
      -1 The picture's object lacks a field
        videoDecoderBufferGetVideoFrame videoEncoderBufferGetVideoFrame
      -1 The pool has no frames
        videoDecoderBufferAllocate
      -1 There is no audio decoder
        audioDecoderAddAudioResampler audioDecoderApplyParameters
      -1 There is no audio encoder with this number: 0
        audioEncoderAddAudioResampler audioEncoderApplyParameters
      -1 There is no buffer set with this number: 0
        videoEncoderBufferAllocate
      0 Request class not found
        thumbnailerGetVideoFrame
      0 There is no buffer set with this number: 0
        videoEncoderBufferSetCrop videoEncoderBufferSetDestinationRect videoEncoderBufferSetOverlayVideoFrame
        videoEncoderBufferSetPadding videoEncoderBufferSetSourceRect
      F The decoder's pool has no frame with this number: 0
        videoDecoderBufferAcquire videoDecoderBufferRelease videoDecoderTransferFrameSingle
        videoDecoderTransferFrameStart
      F The scaler implementation has no scaler of its own
        videoScalerScaleFrame
      F There is no audio decoder
        audioDecoderCaptureFrame audioDecoderDecodeCodecConfig audioDecoderDecodeFirstFrame audioDecoderDecodeFrame
        audioDecoderGetChannels audioDecoderGetSampleRate audioDecoderInitialize audioDecoderResampleFrame
        audioDecoderResetDecodedFrameState audioDecoderSetCaptureDevice
      F There is no audio encoder with this number: 0
        audioEncoderAddSampleBuffer audioEncoderEncodeBufferDone audioEncoderEncodeBufferStart audioEncoderGetHeaders
        audioEncoderInitialize audioEncoderResampleFrame audioEncoderSetBitrate audioEncoderSetChannels
        audioEncoderSetQuality audioEncoderSetSampleRate
      F There is no buffer set with this number: 0
        videoEncoderBufferAcquire videoEncoderBufferAdd videoEncoderBufferRelease
      F There is no video decoder
        videoDecoderAddFrame videoDecoderApplyParameters videoDecoderDecode videoDecoderDecodeCodecConfig
        videoDecoderGetCaptureInfo videoDecoderGetFrame videoDecoderInitialize videoDecoderSetCaptureDevice
        videoDecoderSetGPUID
      F There is no video encoder with this number: 0
        videoEncoderAddFrame videoEncoderApplyParameters videoEncoderGetEncodedFrames videoEncoderInitialize
        videoEncoderSetBitrate videoEncoderSetDefaults videoEncoderSetFrameIndex videoEncoderSetFrameRate
        videoEncoderSetFrameSize videoEncoderSetGPUID videoEncoderSetKeyFrameFollow videoEncoderSkipFrame
        videoEncoderUpdateBitrate
      F Unknown codec: 0
        audioDecoderCreate videoDecoderCreate
      F video scaler set source
        videoScalerAddScaling videoScalerSetSource
      """;

  private static final byte[] BYTES = new byte[8];

  private static String texts(List<TranscoderLogStatement> lines) {
    return lines.stream().map(line -> line.statement).collect(Collectors.joining("\n"));
  }

  private static Method nativeNamed(String name) {
    return Arrays.stream(TranscoderSessionNative.class.getDeclaredMethods())
        .filter(m -> m.getName().equals(name)).findFirst().orElseThrow(() -> new AssertionError(name));
  }

  private static long callWithNothing(String name, long session) throws ReflectiveOperationException {
    Method method = nativeNamed(name);
    Class<?>[] types = method.getParameterTypes();
    Object[] arguments = new Object[types.length];
    arguments[0] = session;
    for (int i = 1; i < types.length; ++i) arguments[i] = HandleZeroTest.nothing(types[i]);
    return (Long) method.invoke(null, arguments);
  }

  @Test
  void everyNativeOfABareSessionAnswersAndTells() throws ReflectiveOperationException {
    TreeSet<String> names = new TreeSet<>(List.of("destroyInstance", "getLogStatements"));
    String[] answer = {};
    for (String row : BARE.split("\n")) {
      if (!row.startsWith(" ")) {
        answer = row.split(" ", 2);
        continue;
      }
      for (String name : row.trim().split(" ")) {
        names.add(name);
        assertAnswers(name, answer[0].equals("F") ? Library.FAILED : Long.parseLong(answer[0]), answer.length > 1 ? answer[1] : "");
      }
    }
    names.remove("videoEncoderPreprocessFrame");  // doesn't look at its session
    assertEquals(new TreeSet<>(HandlesTest.sessionNatives().stream().map(Method::getName).toList()), names);
  }

  private static void assertAnswers(String name, long number, String line) throws ReflectiveOperationException {
    long session = Library.openSession();
    Library.logs(session);
    assertEquals(number, callWithNothing(name, session), name);
    List<TranscoderLogStatement> lines = Library.logs(session).stream().filter(l -> l.contextType != -1).toList();
    assertTrue(texts(lines).contains(line), () -> name + " told: " + texts(lines));
    if (line.isEmpty()) assertTrue(lines.stream().allMatch(l -> l.level < 3), () -> name + " told: " + texts(lines));
    destroyInstance(session);
  }
  private static void assertTold(long expected, String line, LongUnaryOperator call) {
    SessionDriver driver = new SessionDriver(64, 48);
    Library.logs(driver.handle);
    assertEquals(expected, call.applyAsLong(driver.handle), line);
    List<TranscoderLogStatement> lines = Library.logs(driver.handle);
    assertTrue(texts(lines).contains(line), () -> line + " not in " + texts(lines));
    driver.close();
  }

  @ParameterizedTest
  @CsvSource({"videoDecoderCreate, 1", "videoEncoderAdd, 2", "audioDecoderCreate, 3", "audioEncoderAdd, 4"})
  void unknownCodecsAreTold(String name, int context) {
    TranscoderNativeLong holder = new TranscoderNativeLong();
    holder.value = -1;
    assertTold(Library.FAILED, name + "[{context}]: Unknown codec: 99", s -> switch (context) {
      case 1 -> videoDecoderCreate(s, 0, 99, 0, 8, 0, 0, null);
      case 2 -> videoEncoderAdd(s, 99, 0, 8, 0, 0, null, holder);
      case 3 -> audioDecoderCreate(s, 0, 99, 0, null);
      default -> audioEncoderAdd(s, 99, 0, null, holder);
    });
  }

  @Test
  void badArgumentsOfAWiredSessionAreTold() {
    TranscoderNativeParameterValue[] values = {SessionDriver.number(100033, 5)};
    assertTold(-1, "The array doesn't hold the bytes", s -> videoDecoderAddFrame(s, BYTES, 4, 8, 0, 1));
    assertTold(-1, "The array doesn't hold the bytes", s -> audioDecoderDecodeFrame(s, BYTES, -1, 8, 0, 0));
    assertTold(Library.FAILED, "The decoder's pool has no frame with this number: 4", s -> videoDecoderBufferRelease(s, 4));
    assertTold(Library.FAILED, "The buffer set has no frame with this number: 3", s -> videoEncoderAddFrame(s, 0, 3, 0, 1, 0));
    assertTold(Library.FAILED, "No encoder has this frame index: 1", s -> {
      videoEncoderBufferSetAlloc(s, new TranscoderNativeLong());
      return videoEncoderBufferAdd(s, 64, 48, 3, 0, 0, 1);
    });
    assertTold(Library.FAILED, "More buffers than a pool may have: 65537", s -> videoDecoderBuffersCreate(s, 65537));
    assertTold(Library.FAILED, "More targets than there are buffer sets: 2", s -> videoDecoderTransferFrameStart(s, 0, new long[2]));
    assertTold(Library.FAILED, "There is no audio buffer with this number: 7", s -> {
      audioDecoderCreate(s, 0, 7, 0, null);
      return audioDecoderDecodeFrame(s, BYTES, 0, 8, 0, 7);
    });
    // Dropped without a stage, which is no failure of the call; not in silence.
    assertTold(0, "There is no video encoder with this number: 9", s -> videoEncoderSetParameterValues(s, 9, values));
    assertTold(-1, "There is no audio decoder", s -> audioDecoderSetParameterValues(s, values));
    // Packets that Java can't take are lost, and told.
    assertTold(0, "packets are lost", s -> {
      long target = videoEncoderBufferAllocate(s, 0);
      assertEquals(0, videoEncoderAddFrame(s, 0, target, 0, Library.KEY_FRAME, 0));
      return videoEncoderGetEncodedFrames(s, 0, null);
    });
  }

  @Test
  void aFailureThatComesAgainAndAgainDoesNotFloodTheLog() {
    long session = Library.openSession();
    Library.logs(session);
    for (int i = 0; i < 1000; ++i) assertEquals(Library.FAILED, videoDecoderInitialize(session));
    List<TranscoderLogStatement> lines = Library.logs(session);
    assertEquals(10, lines.size(), () -> texts(lines));
    assertTrue(lines.get(9).statement.endsWith("There is no video decoder (512 times)"), lines.get(9).statement);
    assertEquals(List.of(4, 1, 0), List.of(lines.get(0).level, lines.get(0).contextType, lines.get(0).contextIndex));
    destroyInstance(session);
  }
}
