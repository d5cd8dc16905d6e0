package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.util.ArrayList;
import java.util.List;

/** A session wired from VP8 to one VP8 rendition, driven call by call. */
final class SessionDriver implements AutoCloseable {
  static final int DECODER_PICTURES = 4;
  static final int STATUS_PICTURE = 4;
  static final int STATUS_INCOMPLETE = 8;

  final long handle = Library.openSession();
  final long encoder;
  final long set;
  final List<TranscoderPacket> packets = new ArrayList<>();
  final TranscoderNativeVideoDecodeFrameInfo info = new TranscoderNativeVideoDecodeFrameInfo();
  final TranscoderNativeLong status = new TranscoderNativeLong();
  final TranscoderNativeLong timecode = new TranscoderNativeLong();

  SessionDriver(int width, int height) {
    long yv12 = Library.fourcc("YV12");
    TranscoderNativeStreamContext context = new TranscoderNativeStreamContext();
    context.streamName = "session";
    assertEquals(0, videoDecoderCreate(handle, 0, Library.VPX, Library.VP8, 8, 0, yv12, context));
    assertEquals(0, videoDecoderInitialize(handle));
    videoScalerCreate(handle, yv12, 8);
    videoScalerSetImplementation(handle, 1, -1);
    videoScalerSetFlags(handle, 0);
    assertEquals(0, videoDecoderBuffersCreate(handle, DECODER_PICTURES));
    videoEncoderBufferSetsCreate(handle, 3);

    TranscoderNativeLong holder = new TranscoderNativeLong();
    holder.value = -1;
    assertEquals(0, videoEncoderAdd(handle, Library.VPX, Library.VP8, 8, yv12, 0, context, holder));
    encoder = holder.value;
    videoEncoderSetDefaults(handle, encoder, 0, 0);
    videoEncoderSetFrameSize(handle, encoder, width, height);
    videoEncoderSetFrameRate(handle, encoder, 25);
    videoEncoderSetBitrate(handle, encoder, 1_000_000);
    assertEquals(0, videoEncoderBufferSetAlloc(handle, holder));
    set = holder.value;
    videoEncoderSetFrameIndex(handle, encoder, set);
    videoEncoderSetParameterValues(handle, encoder, new TranscoderNativeParameterValue[] {number(100033, -8)});
    videoEncoderApplyParameters(handle, encoder);
    assertEquals(0, videoEncoderBufferAdd(handle, width, height, 3, yv12, 0, set));
    assertEquals(0, videoEncoderInitialize(handle, encoder));
    assertEquals(0, videoScalerInitialize(handle));
    assertEquals(0, videoDecoderDecodeCodecConfig(handle, new byte[0], 0, 0));
  }

  static TranscoderNativeParameterValue number(int key, long value) {
    TranscoderNativeParameterValue parameter = new TranscoderNativeParameterValue();
    parameter.dataType = 1;
    parameter.settingIndex = key;
    parameter.lValue = value;
    return parameter;
  }

  /** Decodes one coded frame into a taken picture; its index. The caller releases it. */
  long decode(byte[] coded, long time, long frameType) {
    assertEquals(0, videoDecoderAddFrame(handle, coded, 0, coded.length, time, frameType));
    long picture = videoDecoderBufferAllocate(handle);
    assertTrue(picture >= 0, "pool is empty");
    assertEquals(0, videoDecoderDecode(handle, picture, status, timecode, info));
    assertEquals(STATUS_PICTURE, status.value & (STATUS_PICTURE | STATUS_INCOMPLETE), "no picture");
    return picture;
  }

  /** Scales a decoded picture into the rendition and encodes it. Gives the target as BGRA. */
  TranscoderNativeVideoFrame encode(long picture, long time, long frameType) {
    long target = videoEncoderBufferAllocate(handle, set);
    assertTrue(target >= 0, "set is empty");
    assertEquals(0, videoDecoderTransferFrameStart(handle, picture, new long[] {target}));
    assertEquals(0, videoDecoderTransferFrameSingle(handle, picture, target, set));
    TranscoderNativeVideoFrame shown = new TranscoderNativeVideoFrame();
    assertEquals(0, videoEncoderBufferGetVideoFrame(handle, set, target, shown));
    assertEquals(0, videoEncoderAddFrame(handle, encoder, target, set, frameType, time));
    assertEquals(0, videoEncoderGetEncodedFrames(handle, encoder, packets));
    assertEquals(0, videoEncoderBufferRelease(handle, set, target));
    return shown;
  }

  TranscoderNativeVideoFrame show(long picture, int width, int height) {
    TranscoderNativeVideoFrame shown = new TranscoderNativeVideoFrame();
    shown.width = width;
    shown.height = height;
    assertEquals(0, videoDecoderBufferGetVideoFrame(handle, picture, shown));
    return shown;
  }

  /** Blue, green, red of the pixel. */
  static int[] pixel(TranscoderNativeVideoFrame frame, int x, int y) {
    int at = (int) (frame.frameStartOffset + y * frame.stride + x * 4L);
    return new int[] {frame.bytes[at] & 255, frame.bytes[at + 1] & 255, frame.bytes[at + 2] & 255};
  }

  /** Orange on the left, blue on the right. */
  static void assertHalves(TranscoderNativeVideoFrame frame) {
    int[] left = pixel(frame, frame.width / 4, frame.height / 2);
    int[] right = pixel(frame, frame.width * 3 / 4, frame.height / 2);
    assertTrue(left[2] - left[0] > 120 && left[2] > left[1], () -> "left " + List.of(left[0], left[1], left[2]));
    assertTrue(right[0] - right[2] > 100 && right[0] > right[1], () -> "right " + List.of(right[0], right[1], right[2]));
  }

  @Override
  public void close() {
    assertEquals(0, destroyInstance(handle));
  }
}
