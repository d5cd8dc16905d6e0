package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.SampleDecoder;
import com.zarvo.qvs.host.model.AudioCodec;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;

/** Audio whose codec no decoder of the session takes: it goes in as samples. */
final class DecodedAudioSource implements AudioSource {
  private static final int SAMPLE_BYTES = 2;
  private static final int CONFIG_BYTES = 8;

  private final SampleDecoder decoder;
  private byte[] config = {};
  private int rate;
  private int channels;
  private boolean configChanged;

  DecodedAudioSource(AudioStreamInfo info) throws MediaException {
    decoder = new SampleDecoder(info);
  }

  @Override
  public AudioCodec codec() {
    return AudioCodec.PCM;
  }

  @Override
  public boolean send(MediaPacket packet) {
    return decoder.send(packet.data(), packet.pts());
  }

  @Override
  public void sendEnd() {
    decoder.sendEnd();
  }

  @Override
  public boolean receive() {
    if (!decoder.receive()) return false;
    configChanged = decoder.sampleRate() != rate || decoder.channels() != channels;
    if (!configChanged) return true;
    rate = decoder.sampleRate();
    channels = decoder.channels();
    config = ByteBuffer.allocate(CONFIG_BYTES).order(ByteOrder.LITTLE_ENDIAN).putInt(rate).putInt(channels).array();
    return true;
  }

  @Override
  public byte[] config() {
    return config;
  }

  @Override
  public boolean configChanged() {
    return configChanged;
  }

  @Override
  public byte[] firstFrame() {
    return data();
  }

  @Override
  public byte[] data() {
    return decoder.samples();
  }

  @Override
  public int offset() {
    return 0;
  }

  @Override
  public int length() {
    return decoder.length();
  }

  @Override
  public int pieceBytes() {
    return AudioCodec.PCM.blockSamples * channels * SAMPLE_BYTES;
  }

  @Override
  public double bytesAMs() {
    return rate * channels * SAMPLE_BYTES / 1000.0;
  }

  @Override
  public boolean hasPts() {
    return decoder.hasPts();
  }

  @Override
  public long pts() {
    return decoder.pts();
  }

  @Override
  public double durationMs() {
    return decoder.length() / bytesAMs();
  }

  @Override
  public void close() {
    decoder.close();
  }
}
