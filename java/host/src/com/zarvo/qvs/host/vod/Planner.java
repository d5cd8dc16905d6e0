package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.bitstream.NalUnits;
import com.zarvo.qvs.host.bitstream.ParameterSets;
import com.zarvo.qvs.host.bitstream.RandomAccess;
import com.zarvo.qvs.host.job.JobSettings;
import com.zarvo.qvs.host.job.StreamChoice;
import com.zarvo.qvs.host.media.Interruption;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.FrameRateLimiter;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** Reads an input once from front to back, without decoding it, and says where it is to be cut. */
final class Planner {
  private static final int MPEG2_SEQUENCE = 0xb3;
  private static final int MPEG4_FIRST_LAYER = 0x20;
  private static final int MPEG4_SEQUENCE = 0xb0;
  // Encoders tell two key pictures in a row apart only within one run.
  private static final int MIN_PICTURES = 2;

  private final JobSettings settings;
  private final MediaReader reader;
  private final StreamChoice choice;
  private final StreamInfo video;
  private final boolean startCodes;
  private final int lengthBytes;
  private final ParameterSets sets;
  private final List<byte[]> firstSets;
  private final PacketList packets = new PacketList();
  private final List<Integer> cuts = new ArrayList<>();
  private final boolean progressive;
  private List<Integer> parting = List.of();
  private boolean timed = true;
  private boolean newConfig;
  private long maxPts = Long.MIN_VALUE;
  private long endPts = Long.MIN_VALUE;
  private long firstMs = Long.MIN_VALUE;
  private long mediaMs;

  private Planner(JobSettings settings, MediaReader reader, StreamChoice choice) {
    this.settings = settings;
    this.reader = reader;
    this.choice = choice;
    this.video = reader.video();
    this.progressive = reader.isProgressive();
    boolean hevc = choice.codec() == VideoCodec.H265;
    byte[] config = reader.videoConfig();
    startCodes = choice.codec().hasUnits() && NalUnits.hasStartCodes(config);
    lengthBytes = ParameterSets.lengthBytes(hevc, config);
    sets = startCodes || !choice.codec().hasUnits() ? new ParameterSets(hevc) : ParameterSets.ofRecord(hevc, config);
    if (startCodes) sets.update(NalUnits.ofStartCodes(config));
    firstSets = sets.all();
  }

  /** The plan; the reader is used up by it. */
  static Plan of(
      JobSettings settings, MediaReader reader, StreamChoice choice, double chunkSeconds, Interruption interruption)
      throws HostException, MediaException {
    Planner planner = new Planner(settings, reader, choice);
    MediaFeed feed = new MediaFeed(reader);
    for (MediaPacket packet = feed.next(); packet != null; packet = feed.next()) {
      if (interruption.requested()) throw new HostException(settings.input() + ": interrupted, nothing was begun");
      planner.add(packet);
    }
    if (planner.packets.size() == 0) throw new HostException(settings.input() + ": no picture in it");
    return planner.plan(chunkSeconds, feed);
  }

  private void add(MediaPacket packet) throws MediaException {
    boolean picture = packet.kind() == MediaKind.VIDEO;
    long length =
        picture
            ? Math.round(1000 / video.frameRateOrDefault())
            : reader.audio().timeBase().toMilliseconds(packet.duration());
    if (firstMs == Long.MIN_VALUE) firstMs = packet.timecodeMs();
    mediaMs = Math.max(mediaMs, packet.timecodeMs() - firstMs + length);
    // Containers keep empty packets where a live encoder dropped a picture.
    if (!picture || packet.data().length == 0) return;
    newConfig |= packet.newConfig() != null && packets.size() > 0;
    timed &= packet.timeKind() == MediaPacket.TimeKind.SHOWN
        || packet.timeKind() == MediaPacket.TimeKind.DECODED && !choice.codec().reorders();
    if (packet.key() && !packet.hidden() && packet.pts() > maxPts && isClean(packet)) cuts.add(packets.size());
    if (!packet.hidden()) {
      maxPts = Math.max(maxPts, packet.pts());
      endPts = Math.max(endPts, packet.pts() + packet.duration());
    }
    packets.add(packet);
  }

  private boolean isClean(MediaPacket packet) {
    byte[] data = packet.data();
    boolean headed = reader.videoConfig().length > 0;
    return switch (choice.codec()) {
      case H264, H265 -> hasCleanUnits(data);
      case MPEG2 -> headed || RandomAccess.hasHeader(data, MPEG2_SEQUENCE, MPEG2_SEQUENCE);
      case MPEG4 -> headed || RandomAccess.hasHeader(data, MPEG4_FIRST_LAYER, MPEG4_SEQUENCE);
      default -> true;
    };
  }

  // A worker that begins there knows the sets of the container and those of the picture, and none in between.
  private boolean hasCleanUnits(byte[] data) {
    boolean hevc = choice.codec() == VideoCodec.H265;
    List<byte[]> units =
        startCodes ? NalUnits.ofStartCodes(data) : NalUnits.ofLengths(data, 0, data.length, lengthBytes);
    ParameterSets own = new ParameterSets(hevc);
    own.update(units);
    sets.update(units);
    boolean known = own.isComplete() || sameSets(sets.all(), firstSets);
    return known && (hevc ? RandomAccess.isCleanHevc(units) : RandomAccess.isCleanAvc(units));
  }

  private static boolean sameSets(List<byte[]> some, List<byte[]> others) {
    return some.size() == others.size()
        && some.stream().allMatch(set -> others.stream().anyMatch(other -> Arrays.equals(set, other)));
  }

  private Plan plan(double chunkSeconds, MediaFeed feed) {
    List<Integer> starts = timed ? chosen(chunkSeconds) : new ArrayList<>(List.of(0));
    long firstPts = packets.earliest();
    boolean seekable = timed && !feed.hasMovedTimes() && !newConfig;
    return new Plan(
        seekable, video.toMilliseconds(firstPts), video.timeBase().toSeconds(firstPts), endPts, mediaMs,
        !choice.audioSpecs().isEmpty(), note(starts, chunkSeconds), feed.trouble(), chunks(starts));
  }

  private String note(List<Integer> starts, double chunkSeconds) {
    if (starts.size() > 1 || mediaMs < 1500 * chunkSeconds) return null;
    String why = timed ? "no further picture that decoding can begin at" : "its container has no times of its pictures";
    return settings.input() + ": made in one piece: " + why;
  }

  /** Of all places the ones nearest to a multiple of the length wanted. */
  private List<Integer> chosen(double chunkSeconds) {
    List<Integer> starts = new ArrayList<>(List.of(0));
    parting = packets.parting(cuts);
    double first = video.timeBase().toSeconds(packets.earliest());
    double end = video.timeBase().toSeconds(maxPts);
    int at = 0;
    for (double due = first + chunkSeconds; due < end - chunkSeconds / 2; due += chunkSeconds) {
      while (at + 1 < parting.size() && distance(parting.get(at + 1), due) <= distance(parting.get(at), due)) at++;
      if (at < parting.size() && parting.get(at) >= starts.get(starts.size() - 1) + MIN_PICTURES)
        starts.add(parting.get(at));
    }
    if (starts.size() > 1 && packets.size() - starts.get(starts.size() - 1) < MIN_PICTURES) starts.remove(starts.size() - 1);
    return starts;
  }

  private double distance(int packet, double seconds) {
    return Math.abs(video.timeBase().toSeconds(packets.pts(packet)) - seconds);
  }

  private List<Chunk> chunks(List<Integer> starts) {
    List<FrameRateLimiter> limiters =
        choice.renditions().stream().map(spec -> new FrameRateLimiter(spec.frameRate(), Double.NaN)).toList();
    List<Chunk> chunks = new ArrayList<>();
    for (int i = 0; i < starts.size(); i++) {
      boolean last = i + 1 == starts.size();
      long from = i == 0 ? Long.MIN_VALUE : packets.pts(starts.get(i));
      long to = last ? Long.MAX_VALUE : packets.pts(starts.get(i + 1));
      int end = last ? packets.size() : packets.endOf(starts.get(i + 1), to);
      List<Double> due = limiters.stream().map(FrameRateLimiter::dueMs).toList();
      long[] shown = packets.shown(starts.get(i), end, from, to);
      pass(shown, limiters);
      int begin = i == 0 ? 0 : beginOf(starts.get(i));
      long sum = packets.sum(begin, end);
      chunks.add(new Chunk(i, packets.pts(begin), from, to, end - begin, sum, shown.length, due));
    }
    return chunks;
  }

  // A picture of two fields is made of the one before, too.
  private int beginOf(int start) {
    boolean alone = settings.deinterlace() == Deinterlace.OFF || !choice.codec().deinterlaces() || progressive;
    int begin = alone ? start : 0;
    for (int i = 0; !alone && i < parting.size() && parting.get(i) < start; i++) begin = parting.get(i);
    return begin;
  }

  // What the renditions leave out hangs on all pictures before.
  private void pass(long[] shown, List<FrameRateLimiter> limiters) {
    boolean doubled = settings.deinterlace() == Deinterlace.DOUBLE && choice.codec().deinterlaces();
    long half = Math.round(500 / video.frameRateOrDefault());
    for (int i = 0; i < limiters.size(); i++) {
      if (choice.renditions().get(i).frameRate() <= 0) continue;
      for (long pts : shown) {
        limiters.get(i).keep(video.toMilliseconds(pts));
        if (doubled) limiters.get(i).keep(video.toMilliseconds(pts) + half);
      }
    }
  }
}
