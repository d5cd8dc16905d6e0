import com.zarvo.qvs.host.bitstream.StartCodes;
import com.zarvo.qvs.host.media.ImageEncoder;
import com.zarvo.qvs.host.media.KeyPictures;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.ImageFormat;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.DirectBytes;
import com.zarvo.qvs.host.session.StillSession;
import java.nio.ByteBuffer;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.Random;

/**
 * Still pictures inside of a host that is running: a file is opened, its nearest key picture found, decoded and written
 * as a JPEG of 320x180, over and over.
 *
 * <p>Arguments: clip of H.264, its length in seconds. Prints one JSON line: the median in milliseconds, and by how many
 * MiB the process grew over a hundred pictures.
 */
public final class OfflineBench {
  private static final int WARM_UP = 60;
  private static final int PICTURES = 100;
  private static final StillSession.Wanted SIZE = new StillSession.Wanted(320, 180, null, false);

  private OfflineBench() {}

  private static int picture(Path clip, double seconds) throws Exception {
    try (MediaReader reader = MediaReader.open(clip);
        StillSession session = new StillSession("bench", VideoCodec.H264);
        ImageEncoder encoder = new ImageEncoder(ImageFormat.JPG)) {
      StartCodes form = new StartCodes(true, false, reader.videoConfig());
      MediaPacket key = new KeyPictures(reader).at(reader.video().timeBase().ofMilliseconds(Math.round(seconds * 1000)));
      List<StillSession.Packet> run = List.of(new StillSession.Packet(form.of(key.data(), true), key.timecodeMs(), true));
      ByteBuffer pixels = session.make(run, SIZE);
      int bytes = encoder.encode(pixels, SIZE.width(), SIZE.height()).length;
      DirectBytes.free(pixels);
      return bytes;
    }
  }

  private static double residentMib() throws Exception {
    String line =
        Files.readAllLines(Path.of("/proc/self/status")).stream().filter(text -> text.startsWith("VmRSS")).findFirst().orElseThrow();
    return Long.parseLong(line.replaceAll("\\D", "")) / 1024.0;
  }

  public static void main(String[] arguments) throws Exception {
    Path clip = Path.of(arguments[0]);
    double length = Double.parseDouble(arguments[1]);
    NativeLibraries.loadTranscoder();
    Random random = new Random(7);
    for (int i = 0; i < WARM_UP; i++) picture(clip, random.nextDouble() * length);
    System.gc();
    double before = residentMib();
    double[] times = new double[PICTURES];
    for (int i = 0; i < PICTURES; i++) {
      long begin = System.nanoTime();
      picture(clip, random.nextDouble() * length);
      times[i] = (System.nanoTime() - begin) / 1e6;
    }
    System.gc();
    double grown = residentMib() - before;
    Arrays.sort(times);
    System.out.println("{\"p50_ms\": " + times[PICTURES / 2] + ", \"grown_mib\": " + grown + "}");
  }
}
