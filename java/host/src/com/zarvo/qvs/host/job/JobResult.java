package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.AudioStreamInfo;
import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.AudioSpec;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.EncoderList;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.session.DeviceEvent;
import com.zarvo.qvs.host.session.EncoderEvent;
import com.zarvo.qvs.host.session.QualityFigures;
import com.zarvo.qvs.host.session.RungCounters;
import com.zarvo.qvs.host.session.SessionCounters;
import com.zarvo.qvs.host.session.SessionLog;
import java.nio.file.Path;
import java.time.Instant;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Objects;

/** What became of a file: filled while the work goes on, so that it tells something of work that failed, too. */
public final class JobResult {
  private final JobSettings settings;
  StreamInfo source;
  /** How the container wants the coded pictures shown. */
  DisplayMatrix display;
  AudioStreamInfo audioSource;
  List<Rendition> renditions = List.of();
  /** What the renditions were to be, also of work that failed. */
  List<RenditionSpec> specs = List.of();
  /** What encoded them at the end. */
  final List<EncoderBackend> encoders = new ArrayList<>();
  final List<EncoderEvent> encoderEvents = new ArrayList<>();
  final List<DeviceEvent> deviceEvents = new ArrayList<>();
  List<AudioRendition> audioRenditions = List.of();
  /** A rendition each; empty where nothing was measured. */
  List<QualityFigures> quality = List.of();
  long damagedFrames;
  long damagedAudioPackets;
  long frames;
  long mediaMs;
  double wallSeconds;
  long firstPacketsMs;
  Path contactSheet;
  PaceWatch pace;
  String inputTrouble;
  List<SessionLog.Line> log = List.of();
  String audioDecoder;
  String videoDecoder;
  long reconnects;
  /** What was captured; null for other input. */
  CaptureReport capture;
  private final List<LeftOutAudio> leftOutAudio = new ArrayList<>();
  private String failure;

  public JobResult(JobSettings settings) {
    this.settings = settings;
  }

  void noteQuality(SessionCounters counters) {
    quality = counters.rungs().stream().map(RungCounters::quality).filter(Objects::nonNull).toList();
  }

  /** How what came out of each encoder compares with what went in; empty where nobody measured it. */
  public List<QualityFigures> quality() {
    return quality;
  }

  /** All files stand. */
  public void finished(List<Rendition> pictures, List<AudioRendition> sounds) {
    renditions = pictures;
    audioRenditions = sounds;
  }

  /** What work that others did came to. */
  public void tell(long pictures, long damagedPictures, long damagedPackets, long milliseconds, double seconds) {
    frames = pictures;
    damagedFrames = damagedPictures;
    damagedAudioPackets = damagedPackets;
    mediaMs = milliseconds;
    wallSeconds = seconds;
  }

  /** The input broke off so; null where it ended well. */
  public void endedEarly(String trouble) {
    inputTrouble = trouble;
  }

  /** The work came to nothing. */
  public void failed(String why) {
    failure = why;
  }

  /** "done", "ended early" or "failed". */
  public String outcome() {
    return failure != null ? "failed" : inputTrouble != null ? "ended early" : "done";
  }

  /** Why it came to nothing; null where it did not. */
  public String failure() {
    return failure;
  }

  /** Seconds that the work took. */
  public double wallSeconds() {
    return wallSeconds;
  }

  /** As shown. Null where pictures were left out, or none were found yet. */
  public StreamInfo source() {
    return source;
  }

  /** The files, once all of them are whole. */
  public List<Rendition> renditions() {
    return renditions;
  }

  public List<AudioRendition> audioRenditions() {
    return audioRenditions;
  }

  /** Refused, mended or left out by the decoder. */
  public long damagedFrames() {
    return damagedFrames;
  }

  /** Packets of sound that could not be decoded. */
  public long damagedAudioPackets() {
    return damagedAudioPackets;
  }

  /** Milliseconds of input that were taken. */
  public long mediaMs() {
    return mediaMs;
  }

  /** Null when there is none. */
  public Path contactSheet() {
    return contactSheet;
  }

  /** What device or decoder could not do. */
  public List<DeviceEvent> deviceEvents() {
    return deviceEvents;
  }

  /** What befell the encoders, in order. */
  public List<EncoderEvent> encoderEvents() {
    return encoderEvents;
  }

  /** What became of a capture; null where nothing was captured. */
  public CaptureReport capture() {
    return capture;
  }

  /** What broke the input, null where it ended well. */
  public String inputTrouble() {
    return inputTrouble;
  }

  public List<SessionLog.Line> log() {
    return log;
  }

  /** Audio of the input that is in no output, and why. */
  public record LeftOutAudio(AudioStreamInfo track, String reason) {
    @Override
    public String toString() {
      return "audio " + track + " is left out: " + reason;
    }
  }

  public List<LeftOutAudio> leftOutAudio() {
    return leftOutAudio;
  }

  public void leaveOut(AudioStreamInfo track, String reason) {
    leftOutAudio.add(new LeftOutAudio(track, reason));
  }

  /** One finished file. */
  public record Rendition(RenditionSpec spec, Path file, long frames, long keyFrames, long bytes) {
    public double bitRate(long mediaMs) {
      return mediaMs > 0 ? bytes * 8000.0 / mediaMs : 0;
    }
  }

  /** One finished audio rendition: in the files of pictures that took it, or in one of its own. */
  public record AudioRendition(AudioSpec spec, List<Path> files, long packets, long bytes) {
    public double bitRate(long mediaMs) {
      return mediaMs > 0 ? bytes * 8000.0 / mediaMs : 0;
    }
  }

  /** True when the source's pictures are to be shown in a way that the renditions' container cannot say. */
  public boolean losesDisplay() {
    return !renditions.isEmpty() && !source.display().isAsCoded() && !settings.format().holdsDisplayMatrix();
  }

  /** True where the pictures were decoded before they went into the session. */
  public boolean isDecodedBefore() {
    return "libavcodec".equals(videoDecoder);
  }

  /** Times that a server's connection was lost and made anew. */
  public long reconnects() {
    return reconnects;
  }

  /** Seconds of input per second of work. */
  public double speed() {
    return wallSeconds > 0 ? mediaMs / 1000.0 / wallSeconds : 0;
  }

  /** The report as JSON. */
  public String toJson() {
    return Json.write(toMap());
  }

  /** What the report holds. */
  public Map<String, Object> toMap() {
    Map<String, Object> input = new LinkedHashMap<>();
    input.put("file", settings.source().toString());
    if (source != null) {
      input.put("codec", source.codecName());
      input.put("videoDecoder", videoDecoder);
      input.put("width", source.width());
      input.put("height", source.height());
      input.put("frameRate", source.frameRate());
      input.put("timeBase", source.timeBase());
      input.put("colours", source.colors().toMap());
      input.put("display", display);
      input.put("pictures", frames);
      input.put("damagedPictures", damagedFrames);
    }
    if (audioSource != null) {
      input.put("audioTrack", audioSource.number());
      input.put("audioLanguage", audioSource.language());
      input.put("audioCodec", audioSource.codecName());
      input.put("audioDecoder", audioDecoder);
      input.put("sampleRate", audioSource.sampleRate());
      input.put("channels", audioSource.channels());
      input.put("damagedAudioPackets", damagedAudioPackets);
    }
    input.put("seconds", mediaMs / 1000.0);
    if (settings.source().isUrl()) input.put("reconnects", reconnects);
    if (inputTrouble != null) input.put("trouble", inputTrouble);
    List<Object> files = new ArrayList<>();
    for (int i = 0; i < renditions.size(); i++) {
      Map<String, Object> map = toMap(renditions.get(i));
      if (i < quality.size()) map.put("quality", quality.get(i).toMap());
      files.add(map);
    }
    List<Object> audio = new ArrayList<>();
    for (AudioRendition rendition : audioRenditions) audio.add(toMap(rendition));
    Map<String, Object> report = new LinkedHashMap<>();
    report.put("outcome", outcome());
    if (failure != null) report.put("error", failure);
    report.put("input", input);
    if (capture != null) report.put("capture", capture.toMap());
    report.put("renditions", files);
    if (!settings.device().isSoftware() || settings.decoder() != null) {
      report.put("device", settings.device());
      report.put("doneWithout", deviceEvents.stream().map(DeviceEvent::toMap).toList());
    }
    report.put("encoders", encoderMaps());
    List<Map<String, Object>> cards = settings.encoderPolicy().cards().toMaps();
    if (!cards.isEmpty()) report.put("cards", cards);
    report.put("audio", audio);
    report.put("leftOutAudio", leftOutAudio.stream().map(JobResult::toMap).toList());
    report.put("wallSeconds", wallSeconds);
    if (firstPacketsMs > 0) report.put("firstPackets", Instant.ofEpochMilli(firstPacketsMs).toString());
    report.put("speed", speed());
    if (pace != null) {
      report.put("slowestSpeed", pace.slowest());
      report.put("secondsBehind", pace.behindSeconds());
    }
    report.put("parallel", settings.parallel());
    report.put("contactSheet", contactSheet);
    report.put("log", log);
    return report;
  }

  /** A rendition each: what might encode it, what did at the end, what was refused and what replaced. */
  private List<Object> encoderMaps() {
    List<Object> maps = new ArrayList<>();
    for (int i = 0; i < specs.size(); i++) {
      EncoderList own = specs.get(i).encoders();
      Map<String, Object> map = new LinkedHashMap<>();
      map.put("rendition", specs.get(i).sizeText());
      map.put("wanted", (own != null ? own : settings.encoderPolicy().encoders()).backends());
      map.put("used", i < encoders.size() ? encoders.get(i).label : null);
      map.put("refused", eventMaps(i, EncoderEvent.Kind.REFUSED));
      map.put("replaced", eventMaps(i, EncoderEvent.Kind.APPLIED));
      maps.add(map);
    }
    return maps;
  }

  private List<Map<String, Object>> eventMaps(int rendition, EncoderEvent.Kind kind) {
    return encoderEvents.stream()
        .filter(event -> event.rendition() == rendition && event.kind() == kind)
        .map(EncoderEvent::toMap)
        .toList();
  }

  private static Map<String, Object> toMap(LeftOutAudio leftOut) {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("track", leftOut.track().number());
    map.put("language", leftOut.track().language());
    map.put("codec", leftOut.track().codecName());
    map.put("reason", leftOut.reason());
    return map;
  }

  private Map<String, Object> toMap(Rendition rendition) {
    RenditionSpec spec = rendition.spec();
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("file", rendition.file());
    map.put("codec", spec.codec().codecName);
    map.put("width", spec.width());
    map.put("height", spec.height());
    map.put("fit", spec.fit().label());
    map.put("display", losesDisplay() ? DisplayMatrix.AS_CODED : source.display());
    map.put("pictures", rendition.frames());
    map.put("keyPictures", rendition.keyFrames());
    map.put("bytes", rendition.bytes());
    map.put("wantedBitRate", spec.bitRate());
    map.put("bitRate", rendition.bitRate(mediaMs));
    return map;
  }

  private Map<String, Object> toMap(AudioRendition audio) {
    AudioSpec spec = audio.spec();
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("codec", spec.codec().codecName);
    map.put("sampleRate", spec.sampleRate());
    map.put("channels", spec.channels());
    map.put("packets", audio.packets());
    map.put("bytes", audio.bytes());
    map.put("wantedBitRate", spec.bitRate());
    map.put("bitRate", audio.bitRate(mediaMs));
    map.put("files", List.copyOf(audio.files()));
    return map;
  }
}
