package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;

/** The form in which packets wait to be joined: what a session gave, one event after the other, and their sum. */
final class PacketFile {
  static final int MAGIC = 0x51565331;
  static final byte PICTURE = 'V';
  static final byte SOUND = 'A';
  static final byte SOUND_END = 'E';
  static final byte END = 'Z';
  private static final int NAME_DIGITS = 16;

  private PacketFile() {}

  /** The name of a file with that sum. */
  static String nameOf(String stem, String sum) {
    return stem + "." + sum.substring(0, NAME_DIGITS) + ".packets";
  }

  static MessageDigest digest() {
    try {
      return MessageDigest.getInstance("SHA-256");
    } catch (NoSuchAlgorithmException e) {
      throw new IllegalStateException(e);
    }
  }

  static TranscoderPacket packet(byte[] buffer, int offset, long length) {
    TranscoderPacket packet = new TranscoderPacket();
    packet.buffer = buffer;
    packet.offset = offset;
    packet.len = length;
    return packet;
  }
}
