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
   * session's failure, -1 the call's own) and what the log says, nothing where that is no failure.
   */
  private static final String BARE =
      """
      audioDecoderAddAudioResampler -1 There is no audio decoder
      audioDecoderApplyParameters -1 There is no audio decoder
      audioDecoderBuffersAllocate 0
      audioDecoderBuffersCreate 0
      audioDecoderCaptureFrame F There is no audio decoder
      audioDecoderCreate F Unknown codec: 0
      audioDecoderDecodeCodecConfig F There is no audio decoder
      audioDecoderDecodeFirstFrame F There is no audio decoder
      audioDecoderDecodeFrame F There is no audio decoder
      audioDecoderGetAudioFrame -1 The audio frame's object lacks a field
      audioDecoderGetChannels F There is no audio decoder
      audioDecoderGetParameterValues 0
      audioDecoderGetSampleRate F There is no audio decoder
      audioDecoderInitialize F There is no audio decoder
      audioDecoderIsFirstFrameDecoded 0
      audioDecoderResampleFrame F There is no audio decoder
      audioDecoderResetDecodedFrameState F There is no audio decoder
      audioDecoderSetCaptureDevice F There is no audio decoder
      audioDecoderSetParameterValues 0
      audioDecoderUpdateAudioFrame -1 The audio frame's object lacks a field
      audioEncoderAdd -1 The object for the number lacks its field
      audioEncoderAddAudioResampler -1 There is no audio encoder with this number: 0
      audioEncoderAddSampleBuffer F There is no audio encoder with this number: 0
      audioEncoderApplyParameters -1 There is no audio encoder with this number: 0
      audioEncoderEncodeBufferDone F There is no audio encoder with this number: 0
      audioEncoderEncodeBufferStart F There is no audio encoder with this number: 0
      audioEncoderGetAudioFrame -1 The audio frame's object lacks a field
      audioEncoderGetHeaders F There is no audio encoder with this number: 0
      audioEncoderGetParameterValues 0
      audioEncoderInitialize F There is no audio encoder with this number: 0
      audioEncoderResampleFrame F There is no audio encoder with this number: 0
      audioEncoderSetBitrate F There is no audio encoder with this number: 0
      audioEncoderSetChannels F There is no audio encoder with this number: 0
      audioEncoderSetParameterValues 0
      audioEncoderSetQuality F There is no audio encoder with this number: 0
      audioEncoderSetSampleRate F There is no audio encoder with this number: 0
      audioEncoderUpdateAudioFrame -1 The audio frame's object lacks a field
      initInstance 0
      resetPipeline 0
      thumbnailerGetVideoFrame 0 Request class not found
      videoDecoderAddFrame F There is no video decoder
      videoDecoderApplyParameters F There is no video decoder
      videoDecoderBufferAcquire F The decoder's pool has no frame with this number: 0
      videoDecoderBufferAllocate -1 The pool has no frames
      videoDecoderBufferGetVideoFrame -1 The picture's object lacks a field
      videoDecoderBufferRelease F The decoder's pool has no frame with this number: 0
      videoDecoderBufferSetOverlayVideoFrame 0
      videoDecoderBuffersCreate 0
      videoDecoderCreate F Unknown codec: 0
      videoDecoderDecode F There is no video decoder
      videoDecoderDecodeCodecConfig F There is no video decoder
      videoDecoderGetCaptureInfo F There is no video decoder
      videoDecoderGetFrame F There is no video decoder
      videoDecoderGetParameterValues 0
      videoDecoderInitialize F There is no video decoder
      videoDecoderSetCaptureDevice F There is no video decoder
      videoDecoderSetFrameSizeLimits 0
      videoDecoderSetGPUID F There is no video decoder
      videoDecoderSetParameterValues 0
      videoDecoderTransferFrameSingle F The decoder's pool has no frame with this number: 0
      videoDecoderTransferFrameStart F The decoder's pool has no frame with this number: 0
      videoEncoderAdd -1 The object for the number lacks its field
      videoEncoderAddFrame F There is no video encoder with this number: 0
      videoEncoderApplyParameters F There is no video encoder with this number: 0
      videoEncoderBufferAcquire F There is no buffer set with this number: 0
      videoEncoderBufferAdd F There is no buffer set with this number: 0
      videoEncoderBufferAllocate -1 There is no buffer set with this number: 0
      videoEncoderBufferGetVideoFrame -1 The picture's object lacks a field
      videoEncoderBufferRelease F There is no buffer set with this number: 0
      videoEncoderBufferSetAlloc -1 The object for the number lacks its field
      videoEncoderBufferSetCrop 0 There is no buffer set with this number: 0
      videoEncoderBufferSetDestinationRect 0 There is no buffer set with this number: 0
      videoEncoderBufferSetOverlayVideoFrame 0 There is no buffer set with this number: 0
      videoEncoderBufferSetPadding 0 There is no buffer set with this number: 0
      videoEncoderBufferSetSourceRect 0 There is no buffer set with this number: 0
      videoEncoderBufferSetsCreate 0
      videoEncoderGetEncodedFrames F There is no video encoder with this number: 0
      videoEncoderGetParameterValues 0
      videoEncoderInitialize F There is no video encoder with this number: 0
      videoEncoderPreprocessFrame 0
      videoEncoderSetBitrate F There is no video encoder with this number: 0
      videoEncoderSetDefaults F There is no video encoder with this number: 0
      videoEncoderSetFrameIndex F There is no video encoder with this number: 0
      videoEncoderSetFrameRate F There is no video encoder with this number: 0
      videoEncoderSetFrameSize F There is no video encoder with this number: 0
      videoEncoderSetGPUID F There is no video encoder with this number: 0
      videoEncoderSetKeyFrameFollow F There is no video encoder with this number: 0
      videoEncoderSetParameterValues 0
      videoEncoderSkipFrame F There is no video encoder with this number: 0
      videoEncoderUpdateBitrate F There is no video encoder with this number: 0
      videoScalerAddScaling F video scaler set source
      videoScalerCreate 0
      videoScalerFreeFrame 0
      videoScalerInitialize 0
      videoScalerScaleFrame F The scaler implementation has no scaler of its own
      videoScalerSetFlags 0
      videoScalerSetImplementation 0
      videoScalerSetSource F video scaler set source
      vodEncoderRun -1 Off-line transcoding is not built in
      vodTranscoderGetCodecConfig -1 Off-line transcoding is not built in
      vodTranscoderTranscodeFrames -1 Off-line transcoding is not built in
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
    TreeSet<String> rows = new TreeSet<>();
    for (String row : BARE.split("\n")) {
      String[] parts = row.split(" ", 3);
      rows.add(parts[0]);
      long session = Library.openSession();
      Library.logs(session);
      assertEquals(parts[1].equals("F") ? Library.FAILED : Long.parseLong(parts[1]), callWithNothing(parts[0], session), row);
      String told = texts(Library.logs(session).stream().filter(l -> l.contextType != -1).toList());
      if (parts.length > 2) assertTrue(told.contains(parts[2]), () -> row + " told: " + told);
      destroyInstance(session);
    }
    rows.addAll(List.of("destroyInstance", "getLogStatements"));
    assertEquals(new TreeSet<>(HandlesTest.sessionNatives().stream().map(Method::getName).toList()), without(rows, "videoEncoderPreprocessFrame"));
  }

  private static TreeSet<String> without(TreeSet<String> rows, String name) {
    rows.remove(name);
    return rows;
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
