package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.AacConfig;
import com.zarvo.qvs.host.bitstream.VorbisHeaders;
import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.VorbisDurations;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.HostException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.Arrays;

/** Audio whose codec a decoder of the session takes. */
final class CodedAudioSource implements AudioSource {
  private static final int OPUS_RATE_AT = 12;
  private static final int OPUS_HEAD_LENGTH = 19;
  private static final int OPUS_RATE = 48_000;
  private static final int OPUS_MIN_FIRST = 4;
  // G.711 packets of files may be longer than a block.
  private static final int G711_PIECE = 4000;
  private static final int SPEEX_MODE_AT = 40;
  private static final int SPEEX_WIDEBAND = 1;
  private static final int SPEEX_RATE = 16_000;

  private final AudioStreamInfo info;
  private final AudioCodec codec;
  private byte[] config = {};
  private AacConfig aac;
  private int offset;
  private boolean configChanged;
  private boolean waiting;
  private MediaPacket packet;
  private VorbisDurations durations;

  /** Refuses what no decoder of the session can serve. */
  CodedAudioSource(AudioStreamInfo info) throws HostException, MediaException {
    this.info = info;
    this.codec = AudioCodec.ofStream(info.codecName());
    switch (codec) {
      case AAC -> {
        if (info.config().length > 0) setAac(AacConfig.ofContainer(info.config()));
      }
      case VORBIS -> {
        config = VorbisHeaders.forDecoder(info.config());
        durations = new VorbisDurations(info.config());
      }
      case OPUS -> config = opusHead();
      case SPEEX -> readSpeexHeader();
      case ALAW, MULAW -> checkG711();
      default -> {}
    }
  }

  @Override
  public AudioCodec codec() {
    return codec;
  }

  @Override
  public byte[] config() {
    return config;
  }

  @Override
  public boolean send(MediaPacket next) throws HostException {
    packet = next;
    offset = 0;
    configChanged = false;
    byte[] data = next.data();
    waiting = codec == AudioCodec.AAC && info.config().length == 0 ? acceptHeader(data) : data.length > 0;
    return true;
  }

  @Override
  public void sendEnd() {}

  @Override
  public boolean receive() {
    boolean there = waiting;
    waiting = false;
    return there;
  }

  @Override
  public boolean configChanged() {
    return configChanged;
  }

  @Override
  public byte[] data() {
    return packet.data();
  }

  @Override
  public int offset() {
    return offset;
  }

  @Override
  public int length() {
    return packet.data().length - offset;
  }

  @Override
  public int pieceBytes() {
    return codec.isG711() ? G711_PIECE : Integer.MAX_VALUE;
  }

  @Override
  public double bytesAMs() {
    return info.sampleRate() / 1000.0;
  }

  @Override
  public boolean hasPts() {
    return true;
  }

  @Override
  public long pts() {
    return packet.pts();
  }

  @Override
  public double durationMs() {
    if (durations != null) return 1000.0 * durations.next(packet.data()) / Math.max(1, info.sampleRate());
    // The frame itself knows better than a reader that has learnt the rate from the first.
    if (offset > 0) return aac.frameMs();
    return 1000.0 * packet.duration() * info.timeBase().num() / info.timeBase().den();
  }

  @Override
  public void close() {
    if (durations != null) durations.close();
  }

  @Override
  public byte[] firstFrame() {
    byte[] data = packet.data();
    if (codec.isG711())
      return ByteBuffer.allocate(9).put((byte) 0).putInt(info.sampleRate()).putInt(info.channels()).array();
    if (codec == AudioCodec.OPUS && data.length < OPUS_MIN_FIRST) return Arrays.copyOf(data, OPUS_MIN_FIRST);
    return Arrays.copyOfRange(data, offset, data.length);
  }

  private boolean acceptHeader(byte[] data) throws HostException {
    if (!AacConfig.hasHeader(data, 0, data.length)) return false;
    offset = AacConfig.headerLength(data, 0);
    if (data.length <= offset) return false;
    AacConfig found = AacConfig.ofHeader(data, 0);
    if (!found.equals(aac)) {
      if (aac == null) found.checked();
      else if (found.rateIndex() > 12 || found.channels() == 0) return false;
      configChanged = aac != null;
      setAac(found);
    }
    return true;
  }

  private void setAac(AacConfig found) {
    aac = found;
    config = found.toBytes();
  }

  // The head tells the rate before coding, which need not be one that Opus decodes to; it decodes best to its own.
  private byte[] opusHead() throws HostException {
    byte[] head = info.config();
    if (head.length < OPUS_HEAD_LENGTH) throw new HostException("its Opus header is missing");
    byte[] changed = head.clone();
    ByteBuffer.wrap(changed).order(ByteOrder.LITTLE_ENDIAN).putInt(OPUS_RATE_AT, OPUS_RATE);
    return changed;
  }

  private void readSpeexHeader() throws HostException {
    byte[] header = info.config();
    boolean there = header.length >= SPEEX_MODE_AT + 4;
    int mode = info.sampleRate() < SPEEX_RATE ? 0 : SPEEX_WIDEBAND;
    if (there) mode = ByteBuffer.wrap(header).order(ByteOrder.LITTLE_ENDIAN).getInt(SPEEX_MODE_AT);
    if (mode < SPEEX_WIDEBAND)
      throw new HostException(
          "Speex at " + info.sampleRate() + " Hz is not supported, only wideband (16000 Hz) and above is");
    if (there) config = header;
  }

  private void checkG711() throws HostException {
    if (info.channels() != 1)
      throw new HostException(codec.codecName + " with " + info.channels() + " channels is not supported, only mono is");
    if (info.sampleRate() <= 0) throw new HostException(codec.codecName + " without a sample rate");
  }
}
