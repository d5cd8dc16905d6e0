import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * The calls of a ladder frame, made through the natives on pictures so small that the codecs hardly count. The time of
 * the same ladder without a virtual machine, taken off, leaves what the boundary costs.
 *
 * <p>Arguments: library, IVF file of 32x32 pictures, frames. Prints one JSON line.
 */
public final class BoundaryBench {
  private static final int RUNGS = 3;
  private static final int SIDE = 32;
  private static final long BITRATE = 500_000;
  private static final long YV12 = 0x32315659;
  private static final int WARM_UP_FRAMES = 3000;
  private static final int KEY_FRAME_INTERVAL = 60;

  private final long session;
  private final TranscoderNativeLong status = new TranscoderNativeLong();
  private final TranscoderNativeLong decodedTimecode = new TranscoderNativeLong();
  private final long[] targets = new long[RUNGS];

  private BoundaryBench() {
    session = TranscoderSessionNative.createInstance();
    TranscoderSessionNative.initInstance(session);
    TranscoderNativeStreamContext context = new TranscoderNativeStreamContext();
    check(TranscoderSessionNative.videoDecoderCreate(session, 0, 8, 8, 8, 0, YV12, context));
    check(TranscoderSessionNative.videoDecoderInitialize(session));
    check(TranscoderSessionNative.videoScalerCreate(session, YV12, 8));
    check(TranscoderSessionNative.videoScalerSetImplementation(session, 1, -1));
    check(TranscoderSessionNative.videoDecoderBuffersCreate(session, 2));
    check(TranscoderSessionNative.videoEncoderBufferSetsCreate(session, 2));
    for (int rung = 0; rung < RUNGS; rung++) {
      addRung(rung, context);
    }
    check(TranscoderSessionNative.videoScalerInitialize(session));
    check(TranscoderSessionNative.videoDecoderDecodeCodecConfig(session, new byte[0], 0, 0));
  }

  private void addRung(int rung, TranscoderNativeStreamContext context) {
    TranscoderNativeLong index = new TranscoderNativeLong();
    index.value = -1;
    check(TranscoderSessionNative.videoEncoderAdd(session, 8, 8, 8, YV12, 0, context, index));
    check(TranscoderSessionNative.videoEncoderSetDefaults(session, rung, 0, 0));
    check(TranscoderSessionNative.videoEncoderSetFrameSize(session, rung, SIDE, SIDE));
    check(TranscoderSessionNative.videoEncoderSetFrameRate(session, rung, 30.0));
    check(TranscoderSessionNative.videoEncoderSetBitrate(session, rung, BITRATE));
    check(TranscoderSessionNative.videoEncoderSetFrameIndex(session, rung, rung));
    check(TranscoderSessionNative.videoEncoderSetKeyFrameFollow(session, rung, 1));
    TranscoderNativeParameterValue[] parameters = {parameter(100033, -8), parameter(100100, 1)};
    check(TranscoderSessionNative.videoEncoderSetParameterValues(session, rung, parameters));
    check(TranscoderSessionNative.videoEncoderApplyParameters(session, rung));
    TranscoderNativeLong set = new TranscoderNativeLong();
    check(TranscoderSessionNative.videoEncoderBufferSetAlloc(session, set));
    check(TranscoderSessionNative.videoEncoderBufferAdd(session, SIDE, SIDE, 3, YV12, 0, set.value));
    check(TranscoderSessionNative.videoEncoderInitialize(session, rung));
  }

  private static TranscoderNativeParameterValue parameter(int key, long value) {
    TranscoderNativeParameterValue parameter = new TranscoderNativeParameterValue();
    parameter.dataType = 1;
    parameter.settingIndex = key;
    parameter.lValue = value;
    return parameter;
  }

  private static void check(long result) {
    if (result != 0) {
      throw new IllegalStateException("a native gave " + result);
    }
  }

  /** All calls of one frame, as a server makes them; bytes of the packets that came back. */
  private long transcode(byte[] packet, int number) {
    long frameType = number % KEY_FRAME_INTERVAL == 0 ? 1 : 2;
    check(TranscoderSessionNative.videoDecoderAddFrame(session, packet, 0, packet.length, number * 33L, frameType));
    long source = TranscoderSessionNative.videoDecoderBufferAllocate(session);
    TranscoderNativeVideoDecodeFrameInfo info = new TranscoderNativeVideoDecodeFrameInfo();
    check(TranscoderSessionNative.videoDecoderDecode(session, source, status, decodedTimecode, info));
    for (int rung = 0; rung < RUNGS; rung++) {
      targets[rung] = TranscoderSessionNative.videoEncoderBufferAllocate(session, rung);
    }
    check(TranscoderSessionNative.videoDecoderTransferFrameStart(session, source, targets));
    long bytes = 0;
    for (int rung = 0; rung < RUNGS; rung++) {
      check(TranscoderSessionNative.videoDecoderTransferFrameSingle(session, source, targets[rung], rung));
      // The second index names the buffer and the third the set.
      check(TranscoderSessionNative.videoEncoderAddFrame(
          session, rung, targets[rung], rung, frameType, decodedTimecode.value));
    }
    for (int rung = 0; rung < RUNGS; rung++) {
      List<TranscoderPacket> packets = new ArrayList<>();
      check(TranscoderSessionNative.videoEncoderGetEncodedFrames(session, rung, packets));
      for (TranscoderPacket coded : packets) {
        bytes += coded.len;
      }
      check(TranscoderSessionNative.videoEncoderBufferRelease(session, rung, targets[rung]));
    }
    check(TranscoderSessionNative.videoDecoderBufferRelease(session, source));
    return bytes;
  }

  private static List<byte[]> readIvf(Path path) throws IOException {
    ByteBuffer file = ByteBuffer.wrap(Files.readAllBytes(path)).order(ByteOrder.LITTLE_ENDIAN);
    List<byte[]> packets = new ArrayList<>();
    file.position(32);
    while (file.remaining() >= 12) {
      byte[] packet = new byte[file.getInt()];
      file.position(file.position() + 8);
      file.get(packet);
      packets.add(packet);
    }
    return packets;
  }

  public static void main(String[] arguments) throws IOException {
    System.load(Path.of(arguments[0]).toAbsolutePath().toString());
    check(TranscoderSessionNative.nativeInitialize());
    List<byte[]> packets = readIvf(Path.of(arguments[1]));
    int frames = Integer.parseInt(arguments[2]);
    BoundaryBench bench = new BoundaryBench();
    long bytes = 0;
    for (int i = 0; i < WARM_UP_FRAMES; i++) {
      bytes += bench.transcode(packets.get(i % packets.size()), i);
    }
    long[] times = new long[frames];
    for (int i = 0; i < frames; i++) {
      long start = System.nanoTime();
      bytes += bench.transcode(packets.get(i % packets.size()), i);
      times[i] = System.nanoTime() - start;
    }
    check(TranscoderSessionNative.destroyInstance(bench.session));
    if (bytes == 0) {
      throw new IllegalStateException("no packets came");
    }
    Arrays.sort(times);
    System.out.printf("{\"frames\": %d, \"frame_p50_us\": %.3f}%n", frames, times[frames / 2] / 1000.0);
  }
}
