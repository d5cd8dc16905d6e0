package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import java.io.Closeable;
import java.io.IOException;
import java.io.RandomAccessFile;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;

/** Writes blocks of 16-bit samples into a WAV file, each where its timecode says, the first at the beginning. */
public final class WaveFile implements Closeable {
  private static final int HEADER_LENGTH = 44;
  private static final int SAMPLE_BYTES = 2;
  private static final long MAX_BYTES = 0xFFFFFFFFL - HEADER_LENGTH;
  private static final int MAX_GAP_SECONDS = 600;

  private final Path path;
  private final RandomAccessFile file;
  private long sampleRate;
  private long channels;
  private long firstTimecode;
  private long length;

  public WaveFile(Path path) throws IOException {
    this.path = path;
    this.file = new RandomAccessFile(path.toFile(), "rw");
    file.setLength(HEADER_LENGTH);
  }

  /** Gaps come out as silence; where blocks overlap the later one counts. */
  public void write(TranscoderNativeAudioFrame block) throws HostException, IOException {
    if (sampleRate == 0) begin(block);
    if (block.sampleRate != sampleRate || block.channels != channels)
      throw new HostException(
          path + ": the sound changes from " + sampleRate + "x" + channels + " to " + block.sampleRate + "x"
              + block.channels + ", take --audio-rate and --audio-channels");
    long at = (block.timecode - firstTimecode) * channels * SAMPLE_BYTES;
    long gap = block.timecode - firstTimecode - samples();
    // The input's clock jumped: what follows goes on behind what is there.
    if (at < 0 || gap > MAX_GAP_SECONDS * sampleRate) {
      at = length;
      firstTimecode = block.timecode - samples();
    }
    if (at + block.buffer.length > MAX_BYTES) throw new HostException(path + ": WAV holds no more than 4 GiB");
    file.seek(HEADER_LENGTH + at);
    file.write(block.buffer);
    length = Math.max(length, at + block.buffer.length);
  }

  /** Samples a channel. */
  public long samples() {
    return channels == 0 ? 0 : length / (channels * SAMPLE_BYTES);
  }

  public String format() {
    return sampleRate + " Hz, " + channels + (channels == 1 ? " channel" : " channels");
  }

  private void begin(TranscoderNativeAudioFrame block) {
    sampleRate = block.sampleRate;
    channels = block.channels;
    firstTimecode = block.timecode;
  }

  @Override
  public void close() throws IOException {
    try (file) {
      ByteBuffer header = ByteBuffer.allocate(HEADER_LENGTH).order(ByteOrder.LITTLE_ENDIAN);
      int blockBytes = (int) channels * SAMPLE_BYTES;
      header.put(ascii("RIFF")).putInt((int) (length + HEADER_LENGTH - 8)).put(ascii("WAVEfmt ")).putInt(16);
      header.putShort((short) 1).putShort((short) channels).putInt((int) sampleRate);
      header.putInt((int) sampleRate * blockBytes).putShort((short) blockBytes).putShort((short) 16);
      header.put(ascii("data")).putInt((int) length);
      file.seek(0);
      file.write(header.array());
    }
  }

  private static byte[] ascii(String text) {
    return text.getBytes(StandardCharsets.US_ASCII);
  }
}
