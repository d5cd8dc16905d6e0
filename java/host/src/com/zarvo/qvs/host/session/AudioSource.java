package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.HostException;

/**
 * Turns the packets of a container's audio stream into frames that a decoder of the session takes: each packet is sent,
 * then its frames are received, mostly one.
 */
interface AudioSource extends AutoCloseable {
  /** Of the frames. */
  AudioCodec codec();

  /** False when the packet is damaged. */
  boolean send(MediaPacket packet) throws HostException;

  /** No packet follows. */
  void sendEnd();

  /** Moves to the next frame of what was sent; false when there is none. */
  boolean receive();

  /** What the decoder is given before the first frame and whenever it has changed; may be empty. */
  byte[] config();

  /** True when the packet or frame brought a new configuration. */
  boolean configChanged();

  /** What the decoder learns the stream's form from, made of the current frame. */
  byte[] firstFrame();

  /** Holds the current frame, which begins at {@link #offset}. */
  byte[] data();

  int offset();

  int length();

  /** Most bytes that the decoder is to be given at once. */
  int pieceBytes();

  /** Where a frame is given in pieces: bytes of a millisecond of it. */
  double bytesAMs();

  /** True when the current frame has a time of its own; otherwise it follows the one before. */
  boolean hasPts();

  /** In the stream's time base. */
  long pts();

  /** Length of the current frame, 0 when unknown. Asked once for each frame. */
  double durationMs();

  @Override
  void close();
}
