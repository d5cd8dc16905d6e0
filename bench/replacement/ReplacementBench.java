import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.EncoderCards;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.EncoderFault;
import com.zarvo.qvs.host.session.EncoderPolicy;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Random;
import java.util.Set;

/**
 * A card's encoder that fails at random pictures of a live stream, over and over: what is lost, and how long the rung
 * is silent.
 *
 * <p>Arguments: clip, replacements, deadline in milliseconds. Prints JSON lines.
 */
public final class ReplacementBench {
  private static final String[] FAULTS = {"error", "hang", "late"};
  private static final long PICTURE_NS = 1_000_000_000L / 30;
  private static final int EARLIEST = 5;
  private static final int INSTANTS = 25;
  private static final int BEHIND = 4;

  private final Path script = Path.of(System.getenv("QVS_FAULTY_ENCODER"));
  private final Path clip;
  private final long deadlineMs;
  private final List<MediaPacket> packets = new ArrayList<>();
  private final List<Double> beyondMs = new ArrayList<>();
  private long lost;

  private ReplacementBench(Path clip, long deadlineMs) throws Exception {
    this.clip = clip;
    this.deadlineMs = deadlineMs;
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(clip)) {
      for (MediaPacket packet = reader.next(); packet != null; packet = reader.next())
        if (packets.size() < EARLIEST + INSTANTS + BEHIND) packets.add(packet);
    }
  }

  private void replaced(EncoderEvent event) {
    if (event.kind() != EncoderEvent.Kind.APPLIED) return;
    beyondMs.add(event.gapMs() - (event.fault() == EncoderFault.HANG ? deadlineMs : 0));
  }

  /** One stream at its own pace, up to some pictures behind the failure. */
  private void run(String fault, int picture) throws Exception {
    Files.writeString(script, fault + "=" + picture);
    EncoderPolicy policy =
        EncoderPolicy.of(EncoderList.parse("vaapi+software")).deadlineMs(deadlineMs).cards(new EncoderCards())
            .listener(this::replaced).build();
    Set<Long> missing = new HashSet<>();
    SessionOutput output =
        new SessionOutput() {
          @Override
          public void packet(int rendition, TranscoderPacket packet, long pts, long dts) {
            if (!missing.remove(pts)) lost++;
          }
        };
    SessionSettings.Builder settings =
        SessionSettings.of("bench").parallel(true).encoderPolicy(policy)
            .renditions(List.of(RenditionSpec.parse("1280x720@2500k").settled(VideoCodec.H264, 0, null)));
    try (MediaReader reader = MediaReader.open(clip)) {
      settings.video(reader);
    }
    try (TranscodeSession session = new TranscodeSession(settings.build(), output, null)) {
      long due = System.nanoTime();
      for (MediaPacket packet : packets.subList(0, picture + BEHIND)) {
        missing.add(packet.pts());
        session.push(packet);
        due = Math.max(due + PICTURE_NS, System.nanoTime());
        Thread.sleep(Math.max(0, due - System.nanoTime()) / 1_000_000);
      }
      session.drain();
    }
    lost += missing.size();
  }

  public static void main(String[] arguments) throws Exception {
    ReplacementBench bench = new ReplacementBench(Path.of(arguments[0]), Long.parseLong(arguments[2]));
    int count = Integer.parseInt(arguments[1]);
    Random random = new Random(1);
    for (int i = 0; i < count; i++) bench.run(FAULTS[i % FAULTS.length], EARLIEST + random.nextInt(INSTANTS));
    if (bench.beyondMs.size() != count) throw new IllegalStateException("replacements: " + bench.beyondMs.size());
    bench.beyondMs.sort(null);
    System.out.println("{\"name\": \"replacement.lost\", \"value\": " + bench.lost + "}");
    double p95 = bench.beyondMs.get((int) Math.ceil(0.95 * count) - 1);
    System.out.println("{\"name\": \"replacement.gap_ms\", \"value\": " + p95 + "}");
    System.out.println(
        "{\"name\": \"replacement.gap_worst_ms\", \"value\": " + bench.beyondMs.get(count - 1) + "}");
  }
}
