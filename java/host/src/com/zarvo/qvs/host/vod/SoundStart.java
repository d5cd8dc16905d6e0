package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.session.AudioClock;
import com.zarvo.qvs.host.session.AudioOutput;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.DataInputStream;
import java.io.DataOutputStream;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/**
 * What stands in front of the packets of one rendition of sound.
 *
 * @param spec settled
 * @param unit of the input's times, of which `origin` is the first
 * @param audible where sound begins that is to be heard, in samples of the rendition
 */
record SoundStart(AudioSpec spec, Rational unit, long origin, long audible, List<TranscoderPacket> headers) {
  /** A new output, as the session's own was. */
  AudioOutput output() throws HostException, MediaException {
    return new AudioOutput(spec, clock(), audible, copies());
  }

  // An output writes into the headers what it makes of them.
  private List<TranscoderPacket> copies() {
    List<TranscoderPacket> copies = new ArrayList<>();
    for (TranscoderPacket header : headers) copies.add(PacketFile.packet(header.buffer.clone(), header.offset, header.len));
    return copies;
  }

  AudioClock clock() {
    return new AudioClock(unit, origin);
  }

  void write(DataOutputStream out) throws IOException {
    out.writeUTF(spec.codec().name());
    out.writeLong(spec.bitRate());
    for (int number : new int[] {spec.sampleRate(), spec.channels(), spec.sourceMask(), spec.targetMask()})
      out.writeInt(number);
    out.writeInt(unit.num());
    out.writeInt(unit.den());
    out.writeLong(origin);
    out.writeLong(audible);
    out.writeInt(headers.size());
    for (TranscoderPacket header : headers) {
      out.writeInt((int) header.len);
      out.write(header.buffer, header.offset, (int) header.len);
    }
  }

  static SoundStart read(DataInputStream in) throws IOException {
    AudioCodec codec = AudioCodec.valueOf(in.readUTF());
    AudioSpec spec = new AudioSpec(codec, in.readLong(), in.readInt(), in.readInt(), in.readInt(), in.readInt());
    Rational unit = new Rational(in.readInt(), in.readInt());
    long origin = in.readLong();
    long audible = in.readLong();
    List<TranscoderPacket> headers = new ArrayList<>();
    for (int left = in.readInt(); left > 0; left--) {
      byte[] bytes = in.readNBytes(in.readInt());
      headers.add(PacketFile.packet(bytes, 0, bytes.length));
    }
    return new SoundStart(spec, unit, origin, audible, headers);
  }
}
