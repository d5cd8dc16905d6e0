package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.bitstream.SpliceCue;
import com.zarvo.qvs.host.media.FileClock;
import com.zarvo.qvs.host.media.HlsMaster;
import com.zarvo.qvs.host.media.HlsWriter;
import com.zarvo.qvs.host.media.MediaException;
import com.zarvo.qvs.host.media.MediaKind;
import com.zarvo.qvs.host.media.MediaPacket;
import com.zarvo.qvs.host.media.MediaReader;
import com.zarvo.qvs.host.media.MediaWriter;
import com.zarvo.qvs.host.media.OutputPacket;
import com.zarvo.qvs.host.media.OutputTrack;
import com.zarvo.qvs.host.media.PacketLookahead;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.media.TrackWriter;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.Container;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.AudioOutput;
import com.zarvo.qvs.host.session.AudioPath;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.RenditionPath;
import com.zarvo.qvs.host.session.SessionOutput;
import com.zarvo.qvs.host.session.TranscodeSession;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;

/**
 * The files of all renditions and what the session sends to them. Each video rendition has a file, which takes all
 * audio renditions that its container can hold; an audio rendition that no such file took has one of its own.
 */
public final class RenditionFiles implements SessionOutput, AutoCloseable {
  private static final int VIDEO_TRACK = 0;
  private static final int REORDERED_FRAMES = 8;
  private static final long FINEST_TICKS = 90_000;
  private static final Rational SQUARE = new Rational(1, 1);
  // What segments add to coded bits, and how far these may exceed what was asked for.
  private static final double LIVE_RATE_MARGIN = 1.2;

  private final JobSettings settings;
  private final StreamInfo source;
  private final List<RenditionSpec> renditions;
  private final List<TrackWriter> writers = new ArrayList<>();
  private final List<AudioOutput> audioRenditions = new ArrayList<>();
  private final List<List<Path>> audioFiles = new ArrayList<>();
  private final Set<Path> taken = new HashSet<>();
  private final List<Path> replaceable = new ArrayList<>();
  private final ContactSheet sheet;
  private final long[] keyFrames;
  private int silent;
  private long firstPacketsMs;
  private final long finer;
  private final Rational unit;
  private FileClock clock = FileClock.AS_GIVEN;
  private long lastFrameEnd = Long.MIN_VALUE / (2 * FINEST_TICKS);
  private Path master;

  /** `renditions` is empty and `source` not used where pictures are left out. */
  public RenditionFiles(JobSettings settings, StreamInfo source, List<RenditionSpec> renditions) {
    this.settings = settings;
    this.source = source;
    this.renditions = renditions;
    this.keyFrames = new long[renditions.size()];
    this.silent = renditions.size();
    // Pictures that are coded ahead of the second one need times of decoding before it; cards reorder unasked.
    boolean reorders = renditions.stream().anyMatch(spec -> spec.codec().hasUnits());
    this.finer = reorders ? Math.max(1, FINEST_TICKS * source.timeBase().num() / source.timeBase().den()) : 1;
    this.unit = source == null ? null : new Rational(source.timeBase().num(), (int) (source.timeBase().den() * finer));
    this.sheet = settings.contactSheet() == null || renditions.isEmpty() ? null : new ContactSheet(renditions);
  }

  /** Creates the files; called once the session stands, so that refused input leaves no trace. */
  void open(AudioPath audio, PacketLookahead feed) throws HostException, IOException {
    List<AudioOutput> sounds = new ArrayList<>();
    for (int i = 0; audio != null && i < audio.renditions(); i++)
      sounds.add(AudioOutput.of(audio, i, feed, !renditions.isEmpty()));
    open(sounds, firstPictureSeconds(feed));
  }

  /**
   * The same for sound that is known already, and which is closed with the files.
   *
   * @param firstPicture seconds of the source, infinite where pictures are left out
   */
  public void open(List<AudioOutput> sounds, double firstPicture) throws HostException, IOException {
    audioRenditions.addAll(sounds);
    for (int i = 0; i < sounds.size(); i++) audioFiles.add(new ArrayList<>());
    try {
      Files.createDirectories(settings.directory());
    } catch (IOException e) {
      throw new HostException(settings.directory() + ": cannot be made a directory");
    }
    if (settings.format().isFolder()) clearMaster();
    taken.add(settings.input().toAbsolutePath().normalize());
    double first = firstPicture;
    for (AudioOutput sound : sounds) first = Math.min(first, sound.firstSeconds());
    clock = FileClock.startingAt(first);
    List<Path> names = chooseNames(sounds.stream().map(AudioOutput::spec).toList());
    if (!isLive()) checkReplaced(names);
    for (int i = 0; i < renditions.size(); i++) openVideo(renditions.get(i), names.get(i), !sounds.isEmpty());
    for (int i = 0, own = renditions.size(); i < audioRenditions.size(); i++)
      if (audioFiles.get(i).isEmpty()) openAudio(i, names.get(own++));
  }

  /** Asks, long before the files are created, whether those that are there may be replaced; which these are. */
  public List<Path> claim(List<AudioSpec> sounds) throws HostException {
    taken.add(settings.input().toAbsolutePath().normalize());
    checkReplaced(chooseNames(sounds));
    return replaceable;
  }

  /** These may be replaced. */
  public void allow(List<Path> existing) {
    replaceable.addAll(existing);
  }

  /** Names of all files: first those of pictures, then those of audio renditions that no such file takes. */
  private List<Path> chooseNames(List<AudioSpec> sounds) {
    List<Path> names = new ArrayList<>();
    for (RenditionSpec spec : renditions) names.add(freeName(spec.sizeText(), settings.format()));
    for (AudioSpec spec : sounds) {
      if (renditions.isEmpty() || !settings.format().holds(spec.codec()))
        names.add(freeName(spec.nameText(), settings.format().forAudioAlone(spec.codec())));
    }
    return names;
  }

  // A live run goes on where a former one stopped.
  private void checkReplaced(List<Path> names) throws HostException {
    List<Path> all = new ArrayList<>(names);
    if (settings.format().isFolder()) all.add(masterPath());
    if (sheet != null) all.add(settings.contactSheet());
    all.removeAll(replaceable);
    List<Path> existing = all.stream().filter(path -> Files.exists(path, LinkOption.NOFOLLOW_LINKS)).toList();
    if (existing.isEmpty()) return;
    if (!settings.overwrite().allows(existing)) {
      String more = existing.size() > 1 ? " and " + (existing.size() - 1) + " more exist" : " exists";
      throw new HostException(existing.get(0) + more + " already; --overwrite lets them be replaced");
    }
    replaceable.addAll(existing);
  }

  // In seconds of the source.
  private double firstPictureSeconds(PacketLookahead feed) throws MediaException {
    double first = Double.POSITIVE_INFINITY;
    // Pictures that are shown before the first coded one follow it at once: a live feed isn't waited for beyond them.
    long coded = Long.MIN_VALUE;
    for (int i = 0; !renditions.isEmpty() && i < REORDERED_FRAMES; i++) {
      MediaPacket frame = feed.peek(MediaKind.VIDEO, i);
      if (frame == null || i > 0 && frame.pts() >= coded) break;
      if (i == 0) coded = frame.pts();
      if (!frame.hidden()) first = Math.min(first, source.timeBase().toSeconds(frame.pts()));
    }
    return first;
  }

  private void openVideo(RenditionSpec spec, Path name, boolean keepTimes) throws MediaException {
    Container container = settings.format();
    List<OutputTrack> tracks = new ArrayList<>();
    tracks.add(
        new OutputTrack.Video(
            spec.codec().codecName, new byte[0], unit, spec.width(), spec.height(), rateOf(spec),
            SQUARE, source.colors(), source.display()));
    List<AudioOutput> held = audioRenditions.stream().filter(audio -> container.holds(audio.spec().codec())).toList();
    for (AudioOutput audio : held) tracks.add(audio.track());
    TrackWriter writer = openWriter(name, container, tracks, keepTimes);
    for (int i = 0; i < held.size(); i++) connect(held.get(i), writer, i + 1);
  }

  private void openAudio(int index, Path name) throws MediaException {
    AudioOutput audio = audioRenditions.get(index);
    Container container = settings.format().forAudioAlone(audio.spec().codec());
    connect(audio, openWriter(name, container, List.of(audio.track()), true), 0);
  }

  private TrackWriter openWriter(Path name, Container container, List<OutputTrack> tracks, boolean keepTimes)
      throws MediaException {
    TrackWriter writer =
        container.isFolder()
            ? HlsWriter.create(name, settings.keyFrameSeconds(), settings.hlsWindow(), tracks)
            : MediaWriter.create(name, container, tracks, keepTimes && container.holdsTimesBeforeZero());
    writers.add(writer);
    return writer;
  }

  private void connect(AudioOutput audio, TrackWriter writer, int track) {
    Rational unit = writer.track(track).timeBase();
    audio.addSink(packet -> writer.write(track, clock.place(packet, unit)));
    audioFiles.get(audioRenditions.indexOf(audio)).add(writer.target());
  }

  private Path freeName(String what, Container container) {
    String stem = stemOf() + "_" + what;
    for (int i = 1; ; i++) {
      String ending = container.isFolder() ? "" : "." + container.label();
      Path file = settings.directory().resolve(stem + (i > 1 ? "_" + i : "") + ending);
      if (taken.add(file.toAbsolutePath().normalize())) return file;
    }
  }

  private String stemOf() {
    return stemOf(settings.input());
  }

  /** What the names of all files of an input begin with. */
  public static String stemOf(Path input) {
    String name = MediaReader.nameOf(input);
    int dot = name.lastIndexOf('.');
    return dot > 0 ? name.substring(0, dot) : name;
  }

  /** A picture of the source went in, or will, that is shown until then, in units of the source. */
  public void endsAt(long pts) {
    lastFrameEnd = Math.max(lastFrameEnd, pts);
  }

  /** From the next picture on a rendition has these parameter sets in place of others. */
  public void changeParameterSets(int rendition, ParameterSetChange change) {
    writers.get(rendition).changeParameterSets(change);
  }

  @Override
  public void packet(int rendition, TranscoderPacket packet, long pts, long dts) throws HostException, IOException {
    boolean key = packet.frameType == RenditionPath.FRAME_KEY;
    if (key && keyFrames[rendition]++ == 0 && --silent == 0) firstPacketsMs = System.currentTimeMillis();
    OutputPacket coded =
        new OutputPacket(packet.buffer, packet.offset, (int) packet.len, pts * finer, dts * finer, 0, 0, key);
    writers.get(rendition).write(VIDEO_TRACK, clock.place(coded, unit));
    if (isLive() && master == null && keyFrames[rendition] > 1) writeLiveMaster();
  }

  @Override
  public void encoderReplaced(int rendition, EncoderEvent event) {
    changeParameterSets(rendition, event.change());
  }

  @Override
  public void cue(SpliceCue cue, long time) {
    double seconds = source.timeBase().toSeconds(clock.place(time, source.timeBase()));
    for (int i = 0; i < renditions.size(); i++) writers.get(i).cue(cue, seconds);
  }

  @Override
  public void audioPacket(int rendition, TranscoderPacket packet) throws HostException, IOException {
    audioRenditions.get(rendition).add(packet);
  }

  @Override
  public boolean audioEnds(int rendition, long endSamples) {
    audioRenditions.get(rendition).drainTo(endSamples);
    return !audioRenditions.get(rendition).isComplete();
  }

  @Override
  public boolean audioIsComplete(int rendition) {
    return audioRenditions.get(rendition).isComplete();
  }

  @Override
  public boolean wantsFrame(int rendition, long timecode) {
    return sheet != null && sheet.wants(rendition, timecode);
  }

  @Override
  public void frame(int rendition, long timecode, TranscoderNativeVideoFrame frame) {
    sheet.add(rendition, timecode, frame);
  }

  /** Completes all files, after a check that every picture that went in came out, and some of every sound. */
  void finish(TranscodeSession session) throws HostException, IOException {
    for (int i = 0; i < renditions.size(); i++) {
      long in = session.encodedFrames(i);
      long out = writers.get(i).packets(VIDEO_TRACK);
      if (in != out)
        throw new HostException(
            writers.get(i).target() + ": " + in + " pictures went to the encoder and " + out + " came back");
    }
    String trouble = soundTrouble();
    session.check(trouble == null ? 0 : -1, trouble);
    finish();
  }

  private String soundTrouble() {
    for (int i = 0; i < audioRenditions.size(); i++) {
      AudioOutput audio = audioRenditions.get(i);
      if (audio.packets() == 0 || !audio.isComplete()) return audioFiles.get(i).get(0) + ": its sound is not whole";
    }
    return null;
  }

  /** The same where the caller has counted the pictures. */
  public void finish() throws HostException, IOException {
    String trouble = soundTrouble();
    if (trouble != null) throw new HostException(trouble);
    if (!isLive()) checkReplaced(writers.stream().map(TrackWriter::target).toList());
    for (int i = 0; i < renditions.size(); i++)
      writers.get(i).endAt(VIDEO_TRACK, clock.place(lastFrameEnd * finer, unit));
    for (TrackWriter writer : writers) writer.finish();
    if (settings.format().isFolder() && master == null) writeMaster();
  }

  // In a live run that of a former one would send players to folders that are only being filled.
  private void clearMaster() throws HostException, IOException {
    Path file = masterPath();
    if (Files.exists(file) && Files.exists(settings.input()) && Files.isSameFile(file, settings.input()))
      throw new HostException(file + ": is the input itself");
    if (isLive()) Files.deleteIfExists(file);
  }

  private boolean isLive() {
    return settings.hlsWindow() > 0;
  }

  // As soon as no player is sent to a rendition that is not there.
  private void writeLiveMaster() throws IOException {
    for (int i = 0; i < renditions.size(); i++)
      if (!Files.exists(writers.get(i).target().resolve(Container.PLAYLIST))) return;
    writeMaster();
  }

  private void writeMaster() throws IOException {
    HlsMaster playlist = new HlsMaster();
    List<AudioSpec> held =
        audioRenditions.stream().map(AudioOutput::spec).filter(spec -> settings.format().holds(spec.codec())).toList();
    long audioRate = held.stream().mapToLong(AudioSpec::bitRate).sum();
    for (int i = 0; i < renditions.size(); i++) {
      double expected = isLive() ? LIVE_RATE_MARGIN * (renditions.get(i).bitRate() + audioRate) : 0;
      OutputTrack.Video track = (OutputTrack.Video) writers.get(i).track(VIDEO_TRACK);
      playlist.add(writers.get(i).target(), track, !held.isEmpty(), Math.round(expected));
    }
    if (renditions.isEmpty())
      for (TrackWriter writer : writers)
        if (Files.isDirectory(writer.target())) playlist.addAudio(writer.target());
    playlist.write(masterPath());
    master = masterPath();
  }

  private Path masterPath() {
    return settings.directory().resolve(stemOf() + ".m3u8");
  }

  private Rational rateOf(RenditionSpec spec) {
    Rational own = source.frameRate();
    return spec.frameRate() > 0 && spec.frameRate() < own.toDouble() || settings.deinterlace() == Deinterlace.DOUBLE
        ? new Rational(0, 1)
        : own;
  }

  /** When the last of the renditions got its first picture, by the wall clock; 0 before. */
  public long firstPacketsMs() {
    return firstPacketsMs;
  }

  /** Of pictures, once all is finished. */
  public List<JobResult.Rendition> results() {
    List<JobResult.Rendition> results = new ArrayList<>();
    for (int i = 0; i < renditions.size(); i++) {
      TrackWriter writer = writers.get(i);
      results.add(
          new JobResult.Rendition(
              renditions.get(i),
              settings.format().isFolder() ? writer.target().resolve(Container.PLAYLIST) : writer.target(),
              writer.packets(VIDEO_TRACK),
              keyFrames[i],
              writer.bytes(VIDEO_TRACK)));
    }
    return results;
  }

  /** Of sound. */
  public List<JobResult.AudioRendition> audioResults() {
    List<JobResult.AudioRendition> results = new ArrayList<>();
    for (int i = 0; i < audioRenditions.size(); i++) {
      AudioOutput audio = audioRenditions.get(i);
      List<Path> files = audioFiles.get(i).stream().map(RenditionFiles::playable).toList();
      results.add(new JobResult.AudioRendition(audio.spec(), files, audio.packets(), audio.bytes()));
    }
    return results;
  }

  private static Path playable(Path target) {
    return Files.isDirectory(target) ? target.resolve(Container.PLAYLIST) : target;
  }

  Path writeSheet() throws IOException {
    return sheet != null && sheet.write(settings.contactSheet()) ? settings.contactSheet() : null;
  }

  @Override
  public void close() {
    for (TrackWriter writer : writers) writer.close();
    for (AudioOutput audio : audioRenditions) audio.close();
  }
}
