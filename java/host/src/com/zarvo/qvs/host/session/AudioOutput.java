package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.AacConfig;
import com.zarvo.qvs.host.bitstream.OggPages;
import com.zarvo.qvs.host.bitstream.VorbisHeaders;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.PacketLookahead;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.OutputPacket;
import com.zarvo.qvs.host.media.OutputTrack;
import com.zarvo.qvs.host.media.VorbisDurations;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/**
 * Gives the packets of one audio rendition their place in containers: times become the input's again, less the
 * codec's delay; what only fills the codec at either end is left out or marked; the bytes take the container's form.
 */
public final class AudioOutput implements AutoCloseable {
  /** Receives the packets in their order. */
  public interface Sink {
    void write(OutputPacket packet) throws IOException;
  }

  // Opus counts its delay at this rate, whatever the coded rate is.
  private static final int OPUS_RATE = 48_000;
  private static final int PRE_SKIP_AT = 10;
  private static final int OVERLAP_TOLERANCE_MS = 1;

  private final AudioSpec spec;
  private final AudioClock clock;
  private final List<Sink> sinks = new ArrayList<>();
  private final OggPages pages = new OggPages();
  private final int rate;
  private final long audibleSamples;
  private final int frameSamples;
  private final int delaySamples;
  private VorbisDurations durations;
  private byte[] config = {};
  private int lead;
  private int skipPackets;
  private int paddingSamples;
  private long endOfLast = Long.MIN_VALUE;
  private long end = Long.MAX_VALUE / 2;
  private long pagesReached = Long.MIN_VALUE;
  private OutputPacket primer;
  private boolean draining;
  private long packets;
  private long bytes;

  /**
   * `spec` with rate and channels settled. Sound before `audibleSamples` (at the rendition's rate, on the container's
   * clock) is not to be heard.
   */
  public AudioOutput(AudioSpec spec, AudioClock clock, long audibleSamples, List<TranscoderPacket> headers)
      throws HostException, MediaException {
    this.spec = spec;
    this.clock = clock;
    this.rate = spec.sampleRate();
    this.audibleSamples = audibleSamples;
    this.frameSamples = spec.codec().frameSamples(rate);
    this.delaySamples = spec.codec().delaySamples(rate);
    long origin = clock.originSamples(rate);
    long hidden = Math.max(0, audibleSamples - origin);
    if (frameSamples > 0) {
      skipPackets = (int) (hidden / frameSamples);
      paddingSamples = delaySamples + (int) (hidden % frameSamples);
    } else {
      lead = (int) hidden;
    }
    readHeaders(headers);
  }

  /** The output of a session's rendition, by a look at the first packets of its input. */
  public static AudioOutput of(AudioPath audio, int index, PacketLookahead feed, boolean pictures) throws HostException, MediaException {
    AudioRenditionPath path = audio.rendition(index);
    return new AudioOutput(path.spec(), audio.clock(), audibleSamples(audio, index, feed, pictures), path.headers());
  }

  /** Where sound begins that is to be heard: behind what the input has of its codec's delay. */
  public static long audibleSamples(AudioPath audio, int index, PacketLookahead feed, boolean pictures) throws MediaException {
    int rate = audio.rendition(index).spec().sampleRate();
    MediaPacket first = feed.peek(MediaKind.AUDIO, 0);
    MediaPacket firstFrame = pictures ? feed.peek(MediaKind.VIDEO, 0) : null;
    boolean fromZero = firstFrame == null || firstFrame.timecodeMs() >= 0;
    long audible = audio.clock().originSamples(rate) + audio.atRate(first.paddingStart(), rate);
    return fromZero ? Math.max(0, audible) : audible;
  }

  private void readHeaders(List<TranscoderPacket> headers) throws HostException, MediaException {
    if (spec.codec() == AudioCodec.AAC) {
      config = AacConfig.of(rate, spec.channels()).toBytes();
      return;
    }
    List<byte[]> found = new ArrayList<>();
    byte[] all = new byte[headers.stream().mapToInt(header -> (int) header.len).sum()];
    int at = 0;
    for (TranscoderPacket header : headers) {
      System.arraycopy(header.buffer, header.offset, all, at, (int) header.len);
      at += (int) header.len;
    }
    if (spec.codec() == AudioCodec.OPUS) found.add(all);
    else found.addAll(pages.packets(all, 0, all.length));
    if (spec.codec() == AudioCodec.OPUS && all.length > PRE_SKIP_AT + 1) {
      int skip = (int) ((long) paddingSamples * OPUS_RATE / rate);
      all[PRE_SKIP_AT] = (byte) skip;
      all[PRE_SKIP_AT + 1] = (byte) (skip >> 8);
      config = all;
    } else if (found.size() == 3) {
      config = VorbisHeaders.join(found.toArray(new byte[0][]));
      durations = new VorbisDurations(config);
    } else {
      throw new HostException("the encoder for " + spec.codec().codecName + " gave no headers");
    }
  }

  /** When the first sound is heard, in seconds of the source. */
  public double firstSeconds() {
    return (double) audibleSamples / rate;
  }

  /** What a container is told of this rendition. */
  public OutputTrack.Audio track() {
    boolean opus = spec.codec() == AudioCodec.OPUS;
    int counted = opus ? OPUS_RATE : rate;
    return new OutputTrack.Audio(
        spec.codec().codecName,
        config,
        new Rational(1, rate),
        counted,
        spec.channels(),
        (int) ((long) frameSamples * counted / rate),
        (int) ((long) paddingSamples * counted / rate));
  }

  public void addSink(Sink sink) {
    sinks.add(sink);
  }

  /** A packet of the session. */
  public void add(TranscoderPacket packet) throws HostException, IOException {
    if (frameSamples > 0) addFrame(packet);
    else addPages(packet);
  }

  /**
   * From now on only what fills the encoder up comes in.
   *
   * @param endSamples where the sound ends on the native side's clock, at the rendition's rate
   */
  public void drainTo(long endSamples) {
    draining = true;
    end = clock.toContainer(endSamples, rate);
  }

  /** True when all sound up to the end has been written. */
  public boolean isComplete() {
    return endOfLast >= end;
  }

  public long packets() {
    return packets;
  }

  public long bytes() {
    return bytes;
  }

  public AudioSpec spec() {
    return spec;
  }

  @Override
  public void close() {
    if (durations != null) durations.close();
  }

  private void addFrame(TranscoderPacket packet) throws IOException {
    long pts = clock.toContainer(packet.timecode, rate) - delaySamples;
    // What follows the last real sample has no time of its own.
    if (draining && endOfLast != Long.MIN_VALUE) pts = endOfLast;
    int head = 0;
    if (spec.codec() == AudioCodec.AAC && AacConfig.hasHeader(packet.buffer, packet.offset, (int) packet.len))
      head = AacConfig.headerLength(packet.buffer, packet.offset);
    if (skipPackets > 0) {
      skipPackets--;
      return;
    }
    place(packet.buffer, packet.offset + head, (int) packet.len - head, pts, frameSamples);
  }

  // The time of a page is that of the sample behind its last one; so it is the start of the next page.
  private void addPages(TranscoderPacket packet) throws HostException, IOException {
    List<byte[]> found = pages.packets(packet.buffer, packet.offset, (int) packet.len);
    int[] samples = new int[found.size()];
    long total = 0;
    for (int i = 0; i < samples.length; i++) total += samples[i] = durations.next(found.get(i));
    long reached = clock.toContainer(packet.timecode, rate);
    long pts = pagesReached == Long.MIN_VALUE ? reached - total : pagesReached;
    if (draining) reached = pts + total;
    pagesReached = reached;
    long audible = clock.originSamples(rate) + lead;
    for (int i = 0; i < samples.length; pts += samples[i++]) {
      byte[] data = found.get(i);
      if (pts + samples[i] <= audible && lead > 0) {
        primer = new OutputPacket(data, 0, data.length, audible, audible, 0, 0, true);
        continue;
      }
      if (primer != null) emit(primer);
      primer = null;
      place(data, 0, data.length, Math.max(pts, audible), samples[i]);
    }
  }

  private void place(byte[] data, int offset, int length, long pts, int samples) throws IOException {
    if (pts >= end) {
      endOfLast = Math.max(endOfLast, pts);
      return;
    }
    // Where the input overlaps itself, what was written first stays.
    if (endOfLast != Long.MIN_VALUE && pts < endOfLast - (long) rate * OVERLAP_TOLERANCE_MS / 1000) return;
    endOfLast = pts + samples;
    long kept = Math.min(samples, end - pts);
    emit(new OutputPacket(data, offset, length, pts, pts, kept, discardUnits(samples - kept), true));
  }

  private long discardUnits(long samples) {
    return spec.codec() == AudioCodec.OPUS ? samples * OPUS_RATE / rate : samples;
  }

  private void emit(OutputPacket packet) throws IOException {
    for (Sink sink : sinks) sink.write(packet);
    packets++;
    bytes += packet.length();
  }
}
