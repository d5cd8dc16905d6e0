package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.session.AudioOutput;
import com.zarvo.qvs.host.session.RenditionPath;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.BufferedInputStream;
import java.io.DataInputStream;
import java.io.EOFException;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.DigestInputStream;
import java.security.MessageDigest;
import java.util.ArrayList;
import java.util.HexFormat;
import java.util.List;

/** Gives what a {@link PacketRecorder} wrote once more, and checks its sum at the end. */
final class PacketReplay implements AutoCloseable {
  private static final int BUFFER_BYTES = 1 << 16;

  private final Path file;
  private final String sum;
  private final Rational unit;
  private final MessageDigest digest = PacketFile.digest();
  private final DataInputStream in;
  private final List<SoundStart> sounds = new ArrayList<>();
  private byte kind;
  private int rendition;
  private boolean key;
  private long pts;
  private long dts;
  private long timecode;
  private TranscoderPacket packet;

  /** `unit` is that of the pictures' times. */
  PacketReplay(Path file, String sum, Rational unit) throws IOException {
    this.file = file;
    this.sum = sum;
    this.unit = unit;
    DigestInputStream summed = new DigestInputStream(Files.newInputStream(file), digest);
    in = new DataInputStream(new BufferedInputStream(summed, BUFFER_BYTES));
    boolean ready = false;
    try {
      if (in.readInt() != PacketFile.MAGIC) throw damaged();
      for (int left = in.readInt(); left > 0; left--) sounds.add(SoundStart.read(in));
      ready = true;
    } catch (EOFException | IllegalArgumentException e) {
      throw damaged();
    } finally {
      if (!ready) in.close();
    }
  }

  /** Outputs of all sound in it, as the session had them. */
  List<AudioOutput> outputs() throws HostException, MediaException {
    List<AudioOutput> outputs = new ArrayList<>();
    for (SoundStart sound : sounds) outputs.add(sound.output());
    return outputs;
  }

  /** Goes on to the next event; false at the end, where all that was read turned out to be what was written. */
  boolean next() throws IOException {
    if (kind == PacketFile.END) return false;
    try {
      kind = in.readByte();
      if (kind != PacketFile.END) read();
    } catch (EOFException e) {
      throw damaged();
    }
    if (kind != PacketFile.END) return true;
    if (in.read() >= 0 || !HexFormat.of().formatHex(digest.digest()).equals(sum)) throw damaged();
    return false;
  }

  private void read() throws IOException {
    rendition = in.readByte();
    if (kind == PacketFile.SOUND_END) {
      timecode = in.readLong();
      return;
    }
    if (kind == PacketFile.PICTURE) {
      key = in.readBoolean();
      pts = in.readLong();
      dts = in.readLong();
    } else {
      timecode = in.readLong();
    }
    int length = in.readInt();
    if (length < 0) throw damaged();
    byte[] bytes = in.readNBytes(length);
    if (bytes.length < length) throw damaged();
    packet = PacketFile.packet(bytes, 0, length);
    packet.frameType = kind == PacketFile.PICTURE && key ? (int) RenditionPath.FRAME_KEY : 0;
    packet.timecode = timecode;
  }

  private DamagedPacketsException damaged() {
    return new DamagedPacketsException(file);
  }

  /** When what comes now is due, in seconds of the source; what ends sound is due at once. */
  double seconds() {
    if (kind == PacketFile.PICTURE) return unit.toSeconds(dts);
    if (kind != PacketFile.SOUND) return Double.NEGATIVE_INFINITY;
    SoundStart sound = sounds.get(rendition);
    int rate = sound.spec().sampleRate();
    return (double) sound.clock().toContainer(timecode, rate) / rate;
  }

  int rendition() {
    return rendition;
  }

  boolean isKey() {
    return key;
  }

  byte[] bytes() {
    return packet.buffer;
  }

  /** Gives the event away. */
  void to(SessionOutput output) throws HostException, IOException {
    switch (kind) {
      case PacketFile.PICTURE -> output.packet(rendition, packet, pts, dts);
      case PacketFile.SOUND -> output.audioPacket(rendition, packet);
      default -> output.audioEnds(rendition, timecode);
    }
  }

  @Override
  public void close() throws IOException {
    in.close();
  }
}
