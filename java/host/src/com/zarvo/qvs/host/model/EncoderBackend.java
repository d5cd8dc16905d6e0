package com.zarvo.qvs.host.model;

import java.util.Arrays;
import java.util.Map;
import java.util.stream.Collectors;

/** What can stand behind a rendition's encoder, a row each: its name, the native side's numbers and names. */
public enum EncoderBackend {
  SOFTWARE(
      "software", "default", false,
      Map.of(
          VideoCodec.H264, 0L, VideoCodec.H265, 0L, VideoCodec.H263, 0L, VideoCodec.VP8, 0L, VideoCodec.VP9, 0L)),
  X264("x264", "X264", false, Map.of(VideoCodec.H264, 7L)),
  X265("x265", "X265", false, Map.of(VideoCodec.H265, 11L)),
  VAAPI("vaapi", "VAAPI", true, Map.of(VideoCodec.H264, 10L, VideoCodec.H265, 16L, VideoCodec.VP9, 12L)),
  QUICKSYNC("quicksync", "QuickSync", true, Map.of(VideoCodec.H264, 1L, VideoCodec.H265, 8L)),
  NVENC("nvenc", "NVENC12", true, Map.of(VideoCodec.H264, 6L, VideoCodec.H265, 9L)),
  VEGA("vega", "AdvantechVega", true, Map.of(VideoCodec.H264, 14L, VideoCodec.H265, 15L)),
  U30("u30", "U30", true, Map.of(VideoCodec.H264, 17L, VideoCodec.H265, 18L));

  /** Another name of the software encoder. */
  private static final String DEFAULT = "default";

  /** As a user names it. */
  public final String label;

  /** What the session's log calls the class that serves it, behind the codec. */
  public final String logName;

  /** True where a card stands behind it, which may fail by itself. */
  public final boolean hardware;

  private final Map<VideoCodec, Long> implementations;

  EncoderBackend(String label, String logName, boolean hardware, Map<VideoCodec, Long> implementations) {
    this.label = label;
    this.logName = logName;
    this.hardware = hardware;
    this.implementations = implementations;
  }

  /** True where the encoder lives in a library of its own, which the session's plug-in hosts drive. */
  public boolean isPlugin(VideoCodec codec) {
    return this != SOFTWARE || codec == VideoCodec.H265;
  }

  public boolean makes(VideoCodec codec) {
    return implementations.containsKey(codec);
  }

  /** The native side's number; for codecs that it makes. */
  public long implementation(VideoCodec codec) {
    return implementations.get(codec);
  }

  static EncoderBackend of(String text) {
    for (EncoderBackend backend : values()) if (backend.label.equals(text)) return backend;
    if (text.equals(DEFAULT)) return SOFTWARE;
    String known = Arrays.stream(values()).map(backend -> backend.label).collect(Collectors.joining(", "));
    throw new IllegalArgumentException("encoder '" + text + "' is unknown, take one of " + known);
  }

  @Override
  public String toString() {
    return label;
  }
}
