package com.zarvo.qvs.api;

import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.OutputPacket;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.AudioOutput;
import com.zarvo.qvs.host.session.DeviceEvent;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.RenditionPath;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.List;
import java.util.function.Consumer;

/**
 * All that a ladder holds and that must be freed. It knows the ladder's listeners only while a call is at work, so that
 * a ladder whose listener leads back to it can be let go. One thread at a time.
 */
final class LadderEngine implements SessionOutput {
  private static final int REORDERED_PICTURES = 8;
  private static final long LOG_INTERVAL_NS = 500_000_000;

  private final StreamInfo source;
  private final List<RenditionSpec> rungs;
  private final FileSink files;
  private final List<AudioOutput> sounds = new ArrayList<>();
  private final long[] packets;
  private TranscodeSession session;
  private PacketListener listener;
  private Consumer<LadderEvent> events;
  private long firstMs = Long.MIN_VALUE;
  private long reachedMs;
  private long logNs = System.nanoTime();

  /** `source` as its pictures are to be seen; `files` may be null. */
  LadderEngine(StreamInfo source, List<RenditionSpec> rungs, FileSink files) {
    this.source = source;
    this.rungs = rungs;
    this.files = files;
    this.packets = new long[rungs.size()];
  }

  /** Makes the session; nothing is left behind when that fails. `feed` may be null where there is no sound. */
  void open(SessionSettings settings, MediaFeed feed) throws HostException, IOException {
    boolean ready = false;
    try {
      session = new TranscodeSession(settings, this, feed);
      for (int i = 0; session.audio() != null && i < session.audio().renditions(); i++) openSound(i, feed);
      double first = feed == null ? Double.NaN : firstPictureSeconds(feed);
      for (AudioOutput sound : sounds) first = Math.min(first, sound.firstSeconds());
      if (files != null) files.open(sounds, first);
      session.counters().begins(source.durationMs());
      ready = true;
    } finally {
      if (!ready) close();
    }
  }

  private void openSound(int track, MediaFeed feed) throws HostException, IOException {
    AudioOutput sound = AudioOutput.of(session.audio(), track, feed, true);
    sounds.add(sound);
    double unit = 1.0 / sound.spec().sampleRate();
    sound.addSink(packet -> tell(track, true, packet, unit));
  }

  // Pictures that are shown before the first coded one follow it at once.
  private double firstPictureSeconds(MediaFeed feed) throws IOException {
    double first = Double.POSITIVE_INFINITY;
    long coded = Long.MIN_VALUE;
    for (int i = 0; i < REORDERED_PICTURES; i++) {
      MediaPacket packet = feed.peek(MediaKind.VIDEO, i);
      if (packet == null || i > 0 && packet.pts() >= coded) break;
      if (i == 0) coded = packet.pts();
      if (!packet.hidden()) first = Math.min(first, source.timeBase().toSeconds(packet.pts()));
    }
    return first;
  }

  TranscodeSession session() {
    return session;
  }

  void attach(PacketListener packetListener, Consumer<LadderEvent> eventListener) {
    listener = packetListener;
    events = eventListener;
  }

  void detach() {
    listener = null;
    events = null;
    // Its lines go to the log's listener as they are fetched.
    if (session != null && System.nanoTime() - logNs > LOG_INTERVAL_NS) fetchLog();
  }

  void fetchLog() {
    session.log();
    logNs = System.nanoTime();
  }

  void push(MediaPacket packet, MediaPacket following) throws HostException, IOException {
    if (packet.kind() == MediaKind.VIDEO) {
      if (files != null && !packet.hidden()) files.endsAt(packet.pts() + packet.duration());
      session.push(packet);
    } else if (session.audio() != null) {
      session.audio().push(packet, following);
    }
    if (firstMs == Long.MIN_VALUE) firstMs = packet.timecodeMs();
    reachedMs = Math.max(reachedMs, packet.timecodeMs() - firstMs);
    session.counters().fed(reachedMs);
  }

  void finish() throws HostException, IOException {
    session.drain();
    for (int i = 0; i < packets.length; i++)
      if (packets[i] != session.encodedFrames(i))
        throw new HostException(
            session.name() + ": " + session.encodedFrames(i) + " pictures went to the encoder of "
                + rungs.get(i).sizeText() + " and " + packets[i] + " came back");
    for (AudioOutput sound : sounds)
      if (sound.packets() == 0 || !sound.isComplete()) throw new HostException(session.name() + ": its sound is not whole");
    if (files != null) files.finish();
    fetchLog();
  }

  @Override
  public void packet(int rung, TranscoderPacket coded, long pts, long dts) throws IOException {
    packets[rung]++;
    boolean key = coded.frameType == RenditionPath.FRAME_KEY;
    OutputPacket packet = new OutputPacket(coded.buffer, coded.offset, (int) coded.len, pts, dts, 0, 0, key);
    if (files != null) files.picture(rung, packet);
    tell(rung, false, packet, source.timeBase().toSeconds(1));
  }

  private void tell(int track, boolean sound, OutputPacket packet, double unit) throws IOException {
    if (listener == null) return;
    ByteBuffer data = ByteBuffer.wrap(packet.data(), packet.offset(), packet.length()).slice();
    listener.packet(new CodedPacket(track, sound, data, packet.pts(), packet.dts(), unit, packet.key()));
  }

  void event(EncoderEvent event) {
    if (events != null) events.accept(LadderEvent.of(event));
  }

  void event(DeviceEvent event) {
    if (events != null) events.accept(LadderEvent.of(event));
  }

  @Override
  public void encoderReplaced(int rung, EncoderEvent event) {
    if (files != null) files.replaced(rung, event.change());
  }

  @Override
  public void audioPacket(int track, TranscoderPacket packet) throws HostException, IOException {
    sounds.get(track).add(packet);
  }

  @Override
  public boolean audioEnds(int track, long endSamples) {
    sounds.get(track).drainTo(endSamples);
    return !sounds.get(track).isComplete();
  }

  @Override
  public boolean audioIsComplete(int track) {
    return sounds.get(track).isComplete();
  }

  void close() {
    if (session != null) {
      fetchLog();
      session.close();
    }
    for (AudioOutput sound : sounds) sound.close();
    if (files != null) files.close();
  }
}
