package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.session.AudioOutput;
import com.zarvo.qvs.host.session.RenditionPath;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.BufferedOutputStream;
import java.io.DataOutputStream;
import java.io.FileOutputStream;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.security.DigestOutputStream;
import java.security.MessageDigest;
import java.util.ArrayList;
import java.util.HexFormat;
import java.util.List;

/**
 * Writes all that a session gives into a file, from which {@link PacketReplay} gives it once more. The file takes its own
 * name, which holds its sum, only once it is whole and on the disk: two that make the same at a time do no harm.
 */
final class PacketRecorder implements SessionOutput, AutoCloseable {
  private static final int BUFFER_BYTES = 1 << 16;

  private final Path part;
  private final FileOutputStream file;
  private final MessageDigest digest = PacketFile.digest();
  private final DataOutputStream out;
  private final long[] pictures;
  private long bytes;
  private List<RateBuffer> buffers = List.of();
  private final Rational unit;
  private final List<AudioOutput> sounds = new ArrayList<>();

  /** Pictures of so many renditions have times in that unit. */
  PacketRecorder(Path part, Rational unit, int renditions) throws IOException {
    this.part = part;
    this.unit = unit;
    this.pictures = new long[renditions];
    file = new FileOutputStream(part.toFile());
    out = new DataOutputStream(new BufferedOutputStream(new DigestOutputStream(file, digest), BUFFER_BYTES));
    out.writeInt(PacketFile.MAGIC);
  }

  /** Writes what stands in front of all sound: once, ahead of any packet. */
  void begin(List<SoundStart> starts) throws HostException, IOException {
    out.writeInt(starts.size());
    for (SoundStart start : starts) {
      start.write(out);
      sounds.add(start.output());
    }
  }

  /** Buffers that follow the pictures of each rendition from now on; null for one that has none known. */
  void measure(List<RateBuffer> buffers) {
    this.buffers = buffers;
  }

  @Override
  public void packet(int rendition, TranscoderPacket packet, long pts, long dts) throws IOException {
    out.writeByte(PacketFile.PICTURE);
    out.writeByte(rendition);
    out.writeBoolean(packet.frameType == RenditionPath.FRAME_KEY);
    out.writeLong(pts);
    out.writeLong(dts);
    write(packet);
    if (!buffers.isEmpty() && buffers.get(rendition) != null)
      buffers.get(rendition).take(unit.toSeconds(dts), 8 * packet.len);
    pictures[rendition]++;
  }

  @Override
  public void audioPacket(int rendition, TranscoderPacket packet) throws HostException, IOException {
    sounds.get(rendition).add(packet);
    out.writeByte(PacketFile.SOUND);
    out.writeByte(rendition);
    out.writeLong(packet.timecode);
    write(packet);
  }

  @Override
  public boolean audioEnds(int rendition, long endSamples) throws IOException {
    sounds.get(rendition).drainTo(endSamples);
    out.writeByte(PacketFile.SOUND_END);
    out.writeByte(rendition);
    out.writeLong(endSamples);
    return !sounds.get(rendition).isComplete();
  }

  @Override
  public boolean audioIsComplete(int rendition) {
    return sounds.get(rendition).isComplete();
  }

  private void write(TranscoderPacket packet) throws IOException {
    out.writeInt((int) packet.len);
    out.write(packet.buffer, packet.offset, (int) packet.len);
  }

  /** Pictures of a rendition so far. */
  long pictures(int rendition) {
    return pictures[rendition];
  }

  /** Bytes of the file, once it is finished. */
  long bytes() {
    return bytes;
  }

  /** Completes the file and gives it the name that its sum makes of `stem`. The sum. */
  String finish(Path folder, String stem) throws IOException {
    out.writeByte(PacketFile.END);
    out.flush();
    file.getFD().sync();
    bytes = file.getChannel().size();
    file.close();
    String sum = HexFormat.of().formatHex(digest.digest());
    Files.move(part, folder.resolve(PacketFile.nameOf(stem, sum)), StandardCopyOption.ATOMIC_MOVE);
    return sum;
  }

  @Override
  public void close() throws IOException {
    file.close();
    for (AudioOutput sound : sounds) sound.close();
    Files.deleteIfExists(part);
  }
}
