package com.zarvo.qvs.host.session;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;

import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.PacketLookahead;
import com.zarvo.qvs.host.model.AudioCodec;
import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioResamplerParameters;
import com.zarvo.qvs.transcoder.model.TranscoderNativeLong;
import com.zarvo.qvs.transcoder.model.TranscoderNativeStreamContext;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/**
 * The audio side of a session. The calls come in the order that the native side wants: the decoder, its
 * configuration, a first frame, the blocks, converters and encoders; then per frame decode, convert, and for each
 * rendition copy, convert, encode.
 */
public final class AudioPath implements AutoCloseable {
  private static final long BLOCK = 0;
  private static final int OPUS_RATE = 48_000;
  private static final int MILLISECOND_RATE = 1000;
  private static final int MIN_CHANNELS = 2;
  private static final int MAX_FIRST_FRAMES = 64;
  private static final int MAX_SILENT_BLOCKS = 200;

  private final NativeSession owner;
  private final AudioSettings settings;
  private final AudioSource source;
  private final AudioClock clock;
  private final List<AudioRenditionPath> renditions = new ArrayList<>();
  private final TranscoderNativeAudioFrame frame = new TranscoderNativeAudioFrame();
  private MediaPacket lastPacket;
  private int paddingEnd;
  private long frames;
  private long failures;

  /** Wires the audio side of a session by a look at the first packets of `feed`. */
  AudioPath(NativeSession owner, AudioSettings settings, PacketLookahead feed)
      throws HostException, MediaException {
    this.owner = owner;
    this.settings = settings;
    this.source = AudioSources.open(settings.source());
    boolean ready = false;
    try {
      MediaPacket first = feed.peek(MediaKind.AUDIO, 0);
      if (first == null) throw new HostException(owner.name() + ": its audio stream is empty");
      this.clock = new AudioClock(settings.source().timeBase(), first.pts());
      owner.counters().soundStartsAt(clock.toContainer(0, MILLISECOND_RATE));
      wire(feed);
      ready = true;
    } finally {
      if (!ready) source.close();
    }
  }

  private void wire(PacketLookahead feed) throws HostException, MediaException {
    wireDecoder(owner.context(""));
    decodeFirstFrame(feed);
    allocateBlocks();
    if (settings.conversion().isNeeded()) addConverter();
    for (int i = 0; i < settings.renditions().size(); i++) {
      AudioSpec spec = settled(settings.renditions().get(i));
      renditions.add(new AudioRenditionPath(owner, spec, i, owner.context(spec.nameText())));
    }
  }

  public AudioClock clock() {
    return clock;
  }

  /** Samples of a packet that are not to be heard, at another rate than the input's own. */
  public long atRate(int paddingSamples, int rate) {
    long own = source.codec() == AudioCodec.OPUS ? OPUS_RATE : Math.max(1, settings.source().sampleRate());
    return Math.round((double) paddingSamples * rate / own);
  }

  private long samplesOf(MediaPacket packet) {
    Rational unit = settings.source().timeBase();
    return packet.duration() * unit.num() * settings.source().sampleRate() / unit.den();
  }

  public AudioRenditionPath rendition(int index) {
    return renditions.get(index);
  }

  public int renditions() {
    return renditions.size();
  }

  /** Coded frames that gave sound, and those that were refused. */
  public long frames() {
    return frames;
  }

  public long failures() {
    return failures;
  }

  /**
   * Takes one coded packet all the way. A damaged one costs its own sound only.
   *
   * @param following the next packet of sound, null when there is none
   */
  public void push(MediaPacket packet, MediaPacket following) throws HostException, IOException {
    if (!source.send(packet)) failures++;
    boolean hidden = packet.paddingEnd() > 0 && packet.paddingEnd() >= samplesOf(packet);
    paddingEnd = packet.paddingEnd() + (hidden ? paddingEnd : 0);
    while (source.receive()) take(packet, following);
    lastPacket = packet;
    owner.counters().damagedAudio(failures);
  }

  private void take(MediaPacket packet, MediaPacket following) throws HostException, IOException {
    if (source.configChanged()) {
      byte[] config = source.config();
      owner.check(
          audioDecoderDecodeCodecConfig(owner.handle(), config, 0, config.length),
          owner.name() + ": a new " + source.codec().codecName + " configuration in it was refused");
    }
    double durationMs = source.durationMs();
    double timecode =
        source.hasPts() ? clock.timecodeMs(packet, source.pts(), durationMs, following) : clock.expectedMs(durationMs);
    int end = source.offset() + source.length();
    for (int at = source.offset(), size; at < end; at += size) {
      size = Math.min(source.pieceBytes(), end - at);
      decode(source.data(), at, size, Math.round(timecode + (at - source.offset()) / source.bytesAMs()));
    }
  }

  private void decode(byte[] data, int offset, int length, long timecode) throws HostException, IOException {
    long session = owner.handle();
    if (audioDecoderDecodeFrame(session, data, offset, length, timecode, BLOCK) != 0) {
      failures++;
      return;
    }
    frames++;
    owner.check(audioDecoderResampleFrame(session, timecode, BLOCK), "sound could not be converted");
    if (owner.output().wantsSamples() && audioDecoderGetAudioFrame(session, BLOCK, frame) == 0)
      owner.output().samples(frame);
    for (AudioRenditionPath rendition : renditions) rendition.encode(BLOCK);
  }

  /** Fills the encoders up with silence until all sound that went in has come out. */
  void drain() throws HostException, IOException {
    source.sendEnd();
    while (lastPacket != null && source.receive()) take(lastPacket, null);
    owner.counters().damagedAudio(failures);
    for (int i = 0; i < renditions.size(); i++) {
      // Without a last block, its packet being damaged, nothing tells the end: what came out so far has to do.
      boolean known = audioDecoderGetAudioFrame(owner.handle(), BLOCK, frame) == 0;
      boolean more = owner.output().audioEnds(i, known ? endOf(frame, renditions.get(i).spec().sampleRate()) : 0);
      for (int n = 0; known && more && n < MAX_SILENT_BLOCKS; n++)
        more = renditions.get(i).encodeSilence(BLOCK, frame) && !owner.output().audioIsComplete(i);
    }
  }

  private long endOf(TranscoderNativeAudioFrame block, int rate) {
    double seconds = (double) (block.timecode + block.sampleCount) / block.sampleRate;
    return Math.round(seconds * rate) - atRate(paddingEnd, rate);
  }

  @Override
  public void close() {
    source.close();
  }

  private void wireDecoder(TranscoderNativeStreamContext context) throws HostException {
    long session = owner.handle();
    AudioCodec codec = source.codec();
    String what = owner.name() + ": no decoder for " + codec.codecName;
    owner.check(audioDecoderCreate(session, 0, codec.id, codec.implementation, context), what);
    owner.check(audioDecoderApplyParameters(session), what);
    owner.check(audioDecoderInitialize(session), what);
  }

  // By a source of its own: the packets come again.
  private void decodeFirstFrame(PacketLookahead feed) throws HostException, MediaException {
    long session = owner.handle();
    boolean configured = false;
    try (AudioSource ahead = AudioSources.open(settings.source())) {
      for (int n = 0; n < MAX_FIRST_FRAMES && audioDecoderIsFirstFrameDecoded(session) == 0; n++) {
        MediaPacket packet = feed.peek(MediaKind.AUDIO, n);
        if (packet == null) break;
        ahead.send(packet);
        if (!ahead.receive()) continue;
        byte[] config = ahead.config();
        if (config.length > 0 && (!configured || ahead.configChanged()))
          owner.check(
              audioDecoderDecodeCodecConfig(session, config, 0, config.length),
              owner.name() + ": its " + ahead.codec().codecName + " configuration was refused");
        configured = true;
        byte[] first = ahead.firstFrame();
        audioDecoderDecodeFirstFrame(session, first, 0, first.length);
      }
    }
    owner.check(
        audioDecoderIsFirstFrameDecoded(session) == 0 ? -1 : 0,
        owner.name() + ": no " + settings.source().codecName() + " sound in it could be decoded");
  }

  private void allocateBlocks() throws HostException {
    long session = owner.handle();
    TranscoderNativeLong rate = new TranscoderNativeLong();
    TranscoderNativeLong channels = new TranscoderNativeLong();
    owner.check(audioDecoderGetSampleRate(session, rate), owner.name() + ": the rate of its sound is not known");
    owner.check(audioDecoderGetChannels(session, channels), owner.name() + ": the channels of its sound are not known");
    long most = Math.max(MIN_CHANNELS, channels.value);
    String what = owner.name() + ": no memory for decoded sound";
    owner.check(audioDecoderBuffersCreate(session, 1), what);
    owner.check(audioDecoderBuffersAllocate(session, source.codec().blockSamples, most, rate.value), what);
  }

  private void addConverter() throws HostException {
    AudioConversion wanted = settings.conversion();
    TranscoderNativeAudioResamplerParameters target = new TranscoderNativeAudioResamplerParameters();
    target.sampleRate = decodedRate();
    target.channels = decodedChannels();
    target.channelMaskSrc = wanted.sourceMask();
    target.channelMaskDst = wanted.targetMask();
    owner.check(audioDecoderAddAudioResampler(owner.handle(), target), owner.name() + ": no resampler");
  }

  private AudioSpec settled(AudioSpec spec) {
    return spec.settled(decodedRate(), decodedChannels());
  }

  /** Rate of the blocks that renditions see, by what the container tells. */
  private int decodedRate() {
    int wanted = settings.conversion().sampleRate();
    if (wanted > 0) return wanted;
    if (source.codec() == AudioCodec.OPUS) return OPUS_RATE;
    TranscoderNativeLong rate = new TranscoderNativeLong();
    int told = source.codec() == AudioCodec.PCM ? 0 : settings.source().sampleRate();
    return told > 0 || audioDecoderGetSampleRate(owner.handle(), rate) != 0 ? told : (int) rate.value;
  }

  private int decodedChannels() {
    int wanted = settings.conversion().channels();
    if (wanted > 0) return wanted;
    TranscoderNativeLong channels = new TranscoderNativeLong();
    return audioDecoderGetChannels(owner.handle(), channels) == 0 ? (int) channels.value : 0;
  }
}
