package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.bitstream.OggPages;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.zip.CRC32;

/** Runs one plan of a chaos soak and sums up what came out. */
final class ChaosRun implements SessionOutput {
  private final ChaosPlan plan;
  private final List<RenditionSpec> specs;
  private final List<Sum> video = new ArrayList<>();
  private final List<Sum> audio = new ArrayList<>();

  private ChaosRun(ChaosPlan plan, EncoderList encoders) {
    this.plan = plan;
    this.specs = plan.specs(encoders);
    specs.forEach(spec -> video.add(new Sum()));
    plan.audio().forEach(spec -> audio.add(new Sum()));
  }

  /**
   * What each rendition came to, by its name. A rendition by `encoders`, where that isn't null, is summed by the times of
   * its pictures alone: encoders differ in their bytes. What
   * ended a session before its time is told by its message.
   */
  static Map<String, String> run(ChaosPlan plan, Path clip, boolean parallel, EncoderList encoders) throws IOException {
    ChaosRun run = new ChaosRun(plan, encoders);
    Map<String, String> results = new TreeMap<>();
    try {
      run.push(clip, parallel);
    } catch (HostException e) {
      results.put("failure", e.getMessage());
    }
    for (int i = 0; i < run.video.size(); i++) {
      Sum sum = run.video.get(i);
      boolean timesAlone = plan.renditions().get(i).contains("codec=h264") && encoders != null;
      results.put(i + " " + plan.renditions().get(i), timesAlone ? sum.times() : sum.bytes());
    }
    for (int i = 0; i < run.audio.size(); i++) results.put("sound " + i + " " + plan.audio().get(i), run.audio.get(i).bytes());
    return results;
  }

  /** The same sums with the bytes left out of those that `encoders` make. */
  static Map<String, String> plain(ChaosPlan plan, Path clip, EncoderList encoders) throws IOException {
    Map<String, String> sums = run(plan, clip, false, null);
    // Encoders side by side have a picture under way where a session ends before its time.
    if (plan.parallel() && (!plan.drained() || sums.containsKey("failure"))) sums = run(plan, clip, true, null);
    if (encoders == null) return sums;
    sums.replaceAll((name, sum) -> name.contains("codec=h264") ? sum.replaceAll(" bytes.*", "") : sum);
    return sums;
  }

  private void push(Path clip, boolean parallel) throws HostException, IOException {
    try (MediaReader reader = MediaReader.open(clip)) {
      MediaFeed feed = new MediaFeed(reader);
      SessionSettings.Builder settings = SessionSettings.of("chaos").video(reader).renditions(specs).parallel(parallel);
      boolean hasSound = reader.audio() != null && !plan.audio().isEmpty();
      if (hasSound)
        settings.audio(
            new AudioSettings(
                reader.audio(), AudioConversion.NONE, plan.audioSpecs(reader.audio().sampleRate(), reader.audio().channels())));
      else reader.ignore(MediaKind.AUDIO);
      try (TranscodeSession session = new TranscodeSession(settings.build(), this, feed)) {
        pushAll(feed, session);
        if (plan.drained()) session.drain();
      }
    }
  }

  private void pushAll(MediaFeed feed, TranscodeSession session) throws HostException, IOException {
    int pictures = 0;
    MediaPacket packet = feed.next();
    for (int pushed = 0; packet != null && pushed < plan.packets(); pushed++) {
      if (packet.kind() == MediaKind.VIDEO) {
        ChaosPlan.Rate rate = plan.rates().get(pictures);
        if (rate != null) session.updateBitRate(rate.rendition(), rate.bitsPerSecond());
        session.push(packet.with(plan.damaged(packet.data(), pictures++)));
      } else {
        session.audio().push(packet, feed.following(MediaKind.AUDIO));
      }
      packet = feed.next();
    }
  }

  @Override
  public void packet(int rendition, TranscoderPacket packet, long pts, long dts) {
    video.get(rendition).add(packet, pts);
  }

  @Override
  public void audioPacket(int rendition, TranscoderPacket packet) {
    audio.get(rendition).add(packet, packet.timecode);
  }

  /** Of one rendition. */
  private static final class Sum {
    private final CRC32 bytes = new CRC32();
    private final CRC32 times = new CRC32();
    private int packets;

    void add(TranscoderPacket packet, long time) {
      byte[] content = Arrays.copyOfRange(packet.buffer, packet.offset, packet.offset + (int) packet.len);
      bytes.update(OggPages.comparable(content));
      for (int shift = 0; shift < Long.SIZE; shift += Byte.SIZE) times.update((int) (time >> shift));
      packets++;
    }

    String times() {
      return String.format("%d packets, times %08x", packets, times.getValue());
    }

    String bytes() {
      return String.format("%s bytes %08x", times(), bytes.getValue());
    }
  }
}
