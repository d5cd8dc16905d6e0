package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.PictureDecoder;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.HostException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.Arrays;

/**
 * Pictures whose codec no decoder of the session takes: they go in as planes, a packet a picture, which all are key
 * pictures.
 */
final class DecodedPictures implements AutoCloseable {
  private static final int CONFIG_WORDS = 9;
  private static final int INTERLACED = 2;
  private static final int BOTTOM_FIELD_FIRST = 4;

  private final PictureDecoder decoder;
  private final StreamInfo source;
  private byte[] config = {};
  private long refused;
  private long damaged;
  private long lastPts = Long.MIN_VALUE;
  private long lastDuration;

  DecodedPictures(PictureDecoder.Maker maker, StreamInfo source) throws HostException {
    this.source = source;
    try {
      decoder = maker.make();
    } catch (MediaException e) {
      throw new HostException(e.getMessage());
    }
  }

  /** Takes a coded packet; what came of it is to be received before the next one. */
  void send(MediaPacket packet) {
    if (packet.data().length > 0 && !decoder.send(packet)) refused++;
  }

  void sendEnd() {
    decoder.sendEnd();
  }

  /** The next picture; its bytes are good until the next call. Null when there is none until more is sent. */
  MediaPacket receive() {
    if (!decoder.receive()) return null;
    if (decoder.isDamaged()) damaged++;
    long pts = Math.max(decoder.hasPts() ? decoder.pts() : Long.MIN_VALUE, lastPts + 1);
    if (!decoder.hasPts()) pts = lastPts == Long.MIN_VALUE ? 0 : lastPts + Math.max(1, lastDuration);
    lastPts = pts;
    lastDuration = decoder.duration();
    byte[] now = form();
    boolean changed = !Arrays.equals(now, config);
    if (changed) config = now;
    return new MediaPacket(
        MediaKind.VIDEO, decoder.picture(), pts, source.toMilliseconds(pts), decoder.duration(), 0, 0, true, false,
        false, MediaPacket.TimeKind.SHOWN, changed ? config : null);
  }

  private byte[] form() {
    int flags = decoder.isInterlaced() ? INTERLACED | (decoder.isBottomFirst() ? BOTTOM_FIELD_FIRST : 0) : 0;
    return ByteBuffer.allocate(CONFIG_WORDS * Integer.BYTES)
        .order(ByteOrder.LITTLE_ENDIAN)
        .putInt(decoder.width())
        .putInt(decoder.height())
        .putInt(decoder.strideY())
        .putInt(decoder.strideC())
        .putInt(0)
        .putInt(0)
        .putInt(decoder.width())
        .putInt(decoder.height())
        .putInt(flags)
        .array();
  }

  /** Packets and pictures that were given up. */
  long refused() {
    return refused + decoder.lost();
  }

  /** The same, and pictures that are not as they were coded. */
  long damaged() {
    return refused() + damaged;
  }

  @Override
  public void close() {
    decoder.close();
  }
}
