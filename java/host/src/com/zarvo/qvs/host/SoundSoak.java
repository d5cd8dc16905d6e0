package com.zarvo.qvs.host;

import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/**
 * One session that takes the sound of a file again and again, as one stream without end, into Opus and AAC. Keeps
 * nothing of what comes out but its clock.
 */
final class SoundSoak implements SessionOutput, AutoCloseable {
  private static final List<AudioSpec> RENDITIONS = List.of(AudioSpec.parse("opus@96k"), AudioSpec.parse("aac@128k"));

  private final List<MediaPacket> packets = new ArrayList<>();
  private final AudioStreamInfo source;
  private final TranscodeSession session;
  private final long[] lastTimecodes = new long[RENDITIONS.size()];
  private final long passLength;
  private long passes;

  SoundSoak(Path input) throws HostException, MediaException {
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(input)) {
      TranscodeJob.checkSound(input, reader.audio());
      source = reader.audio();
      reader.ignore(MediaKind.VIDEO);
      for (MediaPacket packet = reader.next(); packet != null; packet = reader.next()) packets.add(packet);
    }
    if (packets.size() < 2) throw new HostException(input + ": too short to go round");
    // The sound of the last packet is taken to be as long as that of the one before.
    MediaPacket last = packets.get(packets.size() - 1);
    passLength = 2 * last.pts() - packets.get(packets.size() - 2).pts() - packets.get(0).pts();
    try (MediaReader reader = MediaReader.open(input)) {
      reader.ignore(MediaKind.VIDEO);
      session =
          new TranscodeSession(
              new SessionSettings(
                  input.getFileName().toString(), null, null, null, Deinterlace.OFF, List.of(), List.of(), false, 1,
                  new AudioSettings(source, AudioConversion.NONE, RENDITIONS), 0),
              this,
              new MediaFeed(reader));
    }
  }

  /** Takes the file's sound once more, behind what went in before. */
  void pass() throws HostException, IOException {
    for (int i = 0; i < packets.size(); i++) {
      boolean last = i + 1 == packets.size();
      MediaPacket following = last ? shifted(packets.get(0), passes + 1) : shifted(packets.get(i + 1), passes);
      session.audio().push(shifted(packets.get(i), passes), following);
    }
    passes++;
    session.log().fetch(session.handle());
  }

  private MediaPacket shifted(MediaPacket packet, long turns) {
    long pts = packet.pts() + turns * passLength;
    return new MediaPacket(
        packet.kind(), packet.data(), pts, source.timeBase().toMilliseconds(pts), packet.duration(), 0, 0, packet.key());
  }

  /** Hours of sound that went in. */
  double hours() {
    return passes * passLength * source.timeBase().toDouble() / 3600;
  }

  /** Milliseconds between the time of the last packet that came out and that of the last one that went in. */
  double lagMs(int rendition) {
    int rate = session.audio().rendition(rendition).spec().sampleRate();
    long in = packets.get(packets.size() - 1).pts() + (passes - 1) * passLength;
    double inMs = in * source.timeBase().toDouble() * 1000;
    double outMs = session.audio().clock().toContainer(lastTimecodes[rendition], rate) * 1000.0 / rate;
    return inMs - outMs;
  }

  int renditions() {
    return RENDITIONS.size();
  }

  @Override
  public void audioPacket(int rendition, TranscoderPacket packet) {
    lastTimecodes[rendition] = packet.timecode;
  }

  @Override
  public void close() {
    session.close();
  }
}
