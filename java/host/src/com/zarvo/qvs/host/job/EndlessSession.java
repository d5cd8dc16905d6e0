package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaFeed;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.AudioConversion;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.session.AudioSettings;
import com.zarvo.qvs.host.session.AudioSources;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.SessionSettings;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.host.session.VideoSource;
import com.zarvo.qvs.transcoder.model.TranscoderNativeAudioFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * One session that takes a file again and again as one stream without end: its sound into Opus and AAC, or its
 * pictures into a ladder of H.264 and its sound into AAC. Keeps nothing of what comes out but its clocks.
 */
public final class EndlessSession implements SessionOutput, AutoCloseable {
  private static final AudioSpec AAC = AudioSpec.parse("aac@128k");
  private static final List<AudioSpec> AUDIO_ALONE = List.of(AudioSpec.parse("opus@96k"), AAC);

  private final EndlessStream audio;
  private final EndlessStream video;
  private final List<RenditionSpec> ladder;
  private final TranscodeSession session;
  private final FrameWatch watch;
  private final long[] videoPackets;
  private final double[] videoOffMs;
  private final List<OutputClock> outputClocks = new ArrayList<>();
  private Map<String, Double> start = Map.of();
  private long audioPacketsIn;
  private double audioInMs;
  private long samplesIn;
  private int sampleRate;

  /** `withPictures` false leaves the pictures of the file out. */
  public EndlessSession(Path input, boolean withVideo) throws HostException, MediaException {
    NativeLibraries.loadMedia();
    try (MediaReader reader = MediaReader.open(input)) {
      if (reader.audio() == null) throw new HostException(input + ": no audio stream in it");
      AudioSources.check(input, reader.audio());
      VideoCodec codec = withVideo ? VideoSource.codecOf(input, reader.video()) : null;
      if (!withVideo) reader.ignore(MediaKind.VIDEO);
      audio = new EndlessStream(reader.audio().timeBase());
      video = withVideo ? new EndlessStream(reader.video().timeBase()) : null;
      ladder = withVideo ? ladderOf(reader.video()) : List.of();
      videoPackets = new long[ladder.size()];
      videoOffMs = new double[ladder.size()];
      readAll(reader, input);
      session = open(input, codec);
    }
    boolean ready = false;
    try {
      watch = withVideo ? new FrameWatch(video, session) : null;
      for (int i = 0; i < session.audio().renditions(); i++)
        outputClocks.add(new OutputClock(session.audio().rendition(i).spec()));
      ready = true;
    } finally {
      if (!ready) session.close();
    }
  }

  private static List<RenditionSpec> ladderOf(StreamInfo source) {
    return DefaultLadder.of(source).stream().map(spec -> spec.settled(VideoCodec.H264, 0, null)).toList();
  }

  private void readAll(MediaReader reader, Path input) throws HostException, MediaException {
    for (MediaPacket packet = reader.next(); packet != null; packet = reader.next())
      (packet.kind() == MediaKind.VIDEO ? video : audio).add(packet);
    if (video != null) video.closeVideo();
    if (audio.size() == 0 || video != null && !video.goesRound())
      throw new HostException(input + ": too short to go round");
  }

  private TranscodeSession open(Path input, VideoCodec codec) throws HostException, MediaException {
    try (MediaReader reader = MediaReader.open(input)) {
      List<AudioSpec> audioRenditions = codec == null ? AUDIO_ALONE : List.of(AAC);
      SessionSettings.Builder settings =
          SessionSettings.of(MediaReader.nameOf(input))
              .renditions(ladder)
              .parallel(true)
              .audio(new AudioSettings(reader.audio(), AudioConversion.NONE, audioRenditions));
      if (codec != null) settings.video(reader);
      return new TranscodeSession(settings.build(), this, new MediaFeed(reader));
    }
  }

  /** Takes the file once more, behind what went in before. The end of the first pass is what drift counts from. */
  public void pass() throws HostException, IOException {
    EndlessStream leading = video != null ? video : audio;
    for (long pass = leading.passes(); leading.passes() == pass; ) {
      if (video == null) {
        pushAudio();
        continue;
      }
      MediaPacket frame = video.take();
      while (audio.milliseconds(audio.peek().pts()) <= video.milliseconds(frame.pts())) pushAudio();
      session.push(frame);
    }
    session.log().fetch(session.handle());
    if (start.isEmpty()) start = lags();
  }

  private void pushAudio() throws HostException, IOException {
    MediaPacket packet = audio.take();
    session.audio().push(packet, audio.peek());
    audioInMs = audio.milliseconds(packet.pts());
    if (++audioPacketsIn != audio.size()) return;
    if (samplesIn == 0) throw new HostException(session.name() + ": no sound in it could be decoded");
    audio.closeAudio((double) samplesIn / sampleRate);
  }

  /** Hours of sound that went in. */
  public double hours() {
    return (double) samplesIn / sampleRate / 3600;
  }

  /** How far each clock has moved since the first pass, in milliseconds. */
  public Map<String, Double> drifts() {
    Map<String, Double> drifts = lags();
    drifts.replaceAll((what, lag) -> Math.abs(lag - start.getOrDefault(what, 0.0)));
    return drifts;
  }

  /** True when every decoded picture came at its time with its samples. */
  public boolean videoIsRight() {
    return watch == null || watch.strays() == 0 && watch.count() > 0;
  }

  /** What of the contents came through, in one line. */
  public String contents() {
    String heard = samplesIn + " samples of sound in";
    return watch == null ? heard : watch.count() + " pictures, " + watch.strays() + " astray; " + heard;
  }

  // Milliseconds between what went in and what came out of it.
  private Map<String, Double> lags() {
    Map<String, Double> lags = new LinkedHashMap<>();
    for (int i = 0; i < ladder.size(); i++) lags.put(ladder.get(i).sizeText(), videoOffMs[i]);
    for (OutputClock clock : outputClocks) {
      String name = clock.spec.codec().codecName;
      lags.put(name + " by its times", audioInMs - clock.lastMs());
      lags.put(name + " by its samples", 1000.0 * samplesIn / sampleRate - clock.countedMs());
    }
    if (video != null) {
      double videoMs = shownMs(watch.count()) - shownMs(videoPackets[0]) - videoOffMs[0];
      lags.put("sound against pictures", audioInMs - outputClocks.get(0).lastMs() - videoMs);
    }
    return lags;
  }

  private double shownMs(long count) {
    return video.milliseconds(video.shownAt(Math.max(0, count - 1)));
  }

  @Override
  public void decoded(long timecode, int width, int height) throws HostException {
    watch.decoded(session.times().ptsOf(timecode));
  }

  // The ladder has no B pictures: the n-th packet is the n-th picture.
  @Override
  public void packet(int rendition, TranscoderPacket packet, long pts, long dts) {
    videoOffMs[rendition] = video.milliseconds(pts - video.shownAt(videoPackets[rendition]++));
  }

  @Override
  public boolean wantsSamples() {
    return true;
  }

  @Override
  public void samples(TranscoderNativeAudioFrame block) {
    samplesIn += block.sampleCount;
    sampleRate = (int) block.sampleRate;
  }

  @Override
  public void audioPacket(int rendition, TranscoderPacket packet) {
    OutputClock clock = outputClocks.get(rendition);
    clock.last = packet.timecode;
    clock.packets++;
  }

  @Override
  public void close() {
    if (watch != null) watch.close();
    session.close();
  }

  /** Where the packets of an audio rendition are. */
  private final class OutputClock {
    private final AudioSpec spec;
    private long last;
    private long packets;

    OutputClock(AudioSpec spec) {
      this.spec = spec;
    }

    double lastMs() {
      int rate = spec.sampleRate();
      return session.audio().clock().toContainer(last, rate) * 1000.0 / rate;
    }

    double countedMs() {
      int rate = spec.sampleRate();
      return packets * spec.codec().frameSamples(rate) * 1000.0 / rate;
    }
  }
}
