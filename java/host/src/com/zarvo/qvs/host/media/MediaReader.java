package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.MediaInput;
import com.zarvo.qvs.host.model.Rational;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;

/** Reads the packets of the best video and audio stream of any container that libavformat knows, in file order. */
public final class MediaReader implements AutoCloseable {
  private static final MediaKind[] KINDS = MediaKind.values();
  private static final MediaPacket.TimeKind[] TIME_KINDS = MediaPacket.TimeKind.values();
  // Places of a packet's facts and bits of its flags; the native side takes them from here. Fields by name would be
  // looked up for every packet.
  private static final int FACT_KIND = 0;
  private static final int FACT_PTS = 1;
  private static final int FACT_DURATION = 2;
  private static final int FACT_PADDING_START = 3;
  private static final int FACT_PADDING_END = 4;
  private static final int FACT_FLAGS = 5;
  private static final int FACT_TIME_KIND = 6;
  private static final int FACTS = 7;
  private static final long FLAG_KEY = 1;
  private static final long FLAG_DISPOSABLE = 2;
  private static final long FLAG_HIDDEN = 4;
  private static final long FLAG_NEW_CONFIG = 8;

  private final StreamInfo video;
  private final List<AudioStreamInfo> audioTracks;
  private AudioStreamInfo audio;
  private final byte[] videoConfig;
  private final long[] facts = new long[FACTS];
  private final MediaInput input;
  private final boolean live;
  private final Interruption interruption;
  private boolean started;
  private String shortfall = "";
  private long handle;

  private MediaReader(long handle, MediaInput input, boolean live, Interruption interruption) {
    this.handle = handle;
    this.input = input;
    this.live = live;
    this.interruption = interruption;
    boolean frames = has(handle, MediaKind.VIDEO.ordinal());
    this.video = frames ? videoInfo(handle) : null;
    this.videoConfig = frames ? videoConfig(handle) : null;
    this.audioTracks = audioInfos(handle);
    int selected = selectedAudio(handle);
    this.audio = selected < 0 ? null : audioTracks.get(selected);
  }

  private static StreamInfo videoInfo(long handle) {
    VideoProperties properties = new VideoProperties();
    videoProperties(handle, properties);
    return properties.toInfo(videoCodecName(handle), pixelFormat(handle));
  }

  private static List<AudioStreamInfo> audioInfos(long handle) {
    List<AudioStreamInfo> tracks = new ArrayList<>();
    for (int i = 0; i < audioTracks(handle); i++) {
      AudioProperties properties = new AudioProperties();
      audioProperties(handle, i, properties);
      tracks.add(
          properties.toInfo(i + 1, audioLanguage(handle, i), audioCodecName(handle, i), audioConfig(handle, i)));
    }
    return tracks;
  }

  /** Opens a file, or standard input for "-"; the exception's message names it and says what is wrong. */
  public static MediaReader open(Path path) throws MediaException {
    return open(MediaInput.of(path));
  }

  /** The same of any input. */
  public static MediaReader open(MediaInput input) throws MediaException {
    return open(input, new Interruption());
  }

  /** The same; live input ends where it is when it is interrupted, as if nothing followed. */
  public static MediaReader open(Path path, Interruption interruption) throws MediaException {
    return open(MediaInput.of(path), interruption);
  }

  /** The same of any input. */
  public static MediaReader open(MediaInput input, Interruption interruption) throws MediaException {
    InputOpening opening = InputOpening.of(input);
    boolean live = !input.isUrl() && isLive(input.path());
    long handle = create();
    interruption.onRequest(() -> stop(handle));
    boolean ready = false;
    try {
      open(handle, opening.address(), live, opening.demuxer(), opening.options(), input.takesAnyFormat(), opening.patienceMs());
      MediaReader reader = new MediaReader(handle, input, live || isEndless(handle), interruption);
      ready = true;
      return reader;
    } catch (MediaException e) {
      throw new MediaException(input + ": " + e.getMessage());
    } finally {
      if (!ready) close(handle, interruption);
    }
  }

  /** True for input that can be read only once, from front to back: a pipe, a FIFO, a device. */
  public static boolean isLive(Path path) {
    return InputOpening.isLive(path);
  }

  /** The name of the stream in it: that of the file. */
  public static String nameOf(Path path) {
    return path.equals(InputOpening.STANDARD_INPUT) ? "stdin" : path.getFileName().toString();
  }

  /** What was opened. */
  public Path path() {
    return input.path();
  }

  /** Times that a connection was lost and made anew. */
  public long reconnects() {
    return handle == 0 ? 0 : reconnects(handle);
  }

  /** True when the input can be read only once. */
  public boolean isLive() {
    return live;
  }

  /** True once a packet was read. */
  boolean isStarted() {
    return started;
  }

  /** The video stream, null when there is none. */
  public StreamInfo video() {
    return video;
  }

  /** Codec configuration of the video stream as libavformat keeps it, may be empty; null without such a stream. */
  public byte[] videoConfig() {
    return videoConfig;
  }

  /** A decoder of its pictures, for codecs that the session has none for. */
  public PictureDecoder openPictures() throws MediaException {
    try {
      return new PictureDecoder(handle, video.colors());
    } catch (MediaException e) {
      throw new MediaException(input + ": " + e.getMessage());
    }
  }

  /** True where the pictures are known to have no fields. */
  public boolean isProgressive() {
    return isProgressive(handle);
  }

  /** All audio streams of the file. */
  public List<AudioStreamInfo> audioTracks() {
    return List.copyOf(audioTracks);
  }

  /** Takes one of them, named by its number or its language, in place of the first; before the first packet. */
  public void selectAudio(String wanted) throws MediaException {
    for (AudioStreamInfo track : audioTracks) {
      if (!wanted.equals(Integer.toString(track.number())) && !track.speaks(wanted)) continue;
      selectAudio(handle, track.number() - 1);
      audio = track;
      return;
    }
    String there = audioTracks.stream().map(AudioStreamInfo::toString).collect(Collectors.joining(", "));
    String choice = there.isEmpty() ? "nor any" : "take " + there;
    throw new MediaException(input + ": no audio track '" + wanted + "' in it, " + choice);
  }

  /** The selected audio stream, null when there is none. */
  public AudioStreamInfo audio() {
    return audio;
  }

  /** Leaves the packets of one stream out from now on. */
  public void ignore(MediaKind kind) {
    if (handle != 0) ignore(handle, kind.ordinal());
  }

  /** The next packet in file order, null at the end of the file. */
  public MediaPacket next() throws MediaException {
    if (handle == 0) throw new MediaException("reader is closed");
    byte[] data = readPacket();
    if (data == null) {
      if (!live) shortfall = shortfall(handle);
      return null;
    }
    started = true;
    MediaKind kind = KINDS[(int) facts[FACT_KIND]];
    Rational unit = kind == MediaKind.VIDEO ? video.timeBase() : audio.timeBase();
    long pts = facts[FACT_PTS];
    long flags = facts[FACT_FLAGS];
    return new MediaPacket(
        kind,
        data,
        pts,
        unit.toMilliseconds(pts),
        facts[FACT_DURATION],
        (int) facts[FACT_PADDING_START],
        (int) facts[FACT_PADDING_END],
        (flags & FLAG_KEY) != 0,
        (flags & FLAG_DISPOSABLE) != 0,
        (flags & FLAG_HIDDEN) != 0,
        TIME_KINDS[(int) facts[FACT_TIME_KIND]],
        (flags & FLAG_NEW_CONFIG) != 0 ? newConfig(handle) : null);
  }

  /** Whether pictures can be looked for by their time; without that all must be read in order. */
  public boolean isSearchable() {
    return isSearchable(handle);
  }

  /** Goes on at a packet of pictures at or before that time as far as the file's index knows, else at the first. */
  public void seek(long pts) throws MediaException {
    try {
      seek(handle, pts);
    } catch (MediaException e) {
      throw new MediaException(input + ": " + e.getMessage());
    }
  }

  private byte[] readPacket() throws MediaException {
    try {
      return read(handle, facts);
    } catch (MediaException e) {
      if (started && !live) shortfall = shortfall(handle);
      String hint = live && !started && !input.isUrl() ? ", it may not be made to be read from front to back" : "";
      throw new MediaException(input + ": " + e.getMessage() + hint);
    }
  }

  /** What a file that was read to its end promised and did not hold, in one line; null where nothing lacks. */
  public String shortfall() {
    return shortfall.isEmpty() ? null : input + ": " + shortfall;
  }

  @Override
  public void close() {
    if (handle != 0) close(handle, interruption);
    handle = 0;
  }

  private static void close(long handle, Interruption interruption) {
    interruption.onRequest(null);
    close(handle);
  }

  private static native long create() throws MediaException;

  /** `options`: a line each, as libavformat names them; `patienceMs`: how long nothing may come, 0 for ever. */
  private static native void open(
      long handle, String address, boolean live, String demuxer, String options, boolean anyFormat, long patienceMs)
      throws MediaException;

  /** True for a URL of which nothing tells an end. */
  private static native boolean isEndless(long handle);

  private static native long reconnects(long handle);

  private static native void stop(long handle);

  private static native boolean has(long handle, int kind);

  private static native void ignore(long handle, int kind);

  private static native boolean isSearchable(long handle);

  private static native void seek(long handle, long pts) throws MediaException;

  private static native String videoCodecName(long handle);

  private static native byte[] videoConfig(long handle);

  /** Number of audio streams. */
  private static native int audioTracks(long handle);

  /** The selected one, counted from 0; -1 when there is none. */
  private static native int selectedAudio(long handle);

  private static native void selectAudio(long handle, int track);

  private static native String audioCodecName(long handle, int track);

  private static native String audioLanguage(long handle, int track);

  private static native byte[] audioConfig(long handle, int track);

  private static native boolean isProgressive(long handle);

  private static native String pixelFormat(long handle);

  private static native void videoProperties(long handle, VideoProperties properties);

  private static native void audioProperties(long handle, int track, AudioProperties properties);

  /** Returns null at the end; fills the facts. */
  private static native byte[] read(long handle, long[] facts) throws MediaException;

  private static native String shortfall(long handle);

  private static native byte[] newConfig(long handle);

  private static native void close(long handle);
}
