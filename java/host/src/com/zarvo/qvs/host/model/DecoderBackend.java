package com.zarvo.qvs.host.model;

import java.util.Arrays;
import java.util.Map;
import java.util.stream.Collectors;

/** What can stand behind a session's decoder, a row each: its name, the native side's numbers and names. */
public enum DecoderBackend {
  SOFTWARE("software", "default", Map.of()),
  NVCUVID(
      "nvcuvid", "NVCUVID[NVDEC]", Map.of(VideoCodec.H264, 4L, VideoCodec.H265, 4L, VideoCodec.MPEG2, 4L)),
  U30("u30", "U30", Map.of(VideoCodec.H264, 5L, VideoCodec.H265, 5L));

  private static final long ANY = 0;

  /** As a user names it. */
  public final String label;

  /** What the session's log calls the class that serves it, behind the codec. */
  public final String logName;

  private final Map<VideoCodec, Long> implementations;

  DecoderBackend(String label, String logName, Map<VideoCodec, Long> implementations) {
    this.label = label;
    this.logName = logName;
    this.implementations = implementations;
  }

  /** True where it decodes the codec; the software does all. */
  public boolean takes(VideoCodec codec) {
    return this == SOFTWARE || implementations.containsKey(codec);
  }

  /** The native side's number; for codecs that it takes. */
  public long implementation(VideoCodec codec) {
    return implementations.getOrDefault(codec, ANY);
  }

  /** True where it lives in a plug-in, whose calls can be given up. */
  public boolean isPlugin() {
    return this == U30;
  }

  /** The decoder of a name. */
  public static DecoderBackend of(String text) {
    for (DecoderBackend backend : values()) if (backend.label.equals(text)) return backend;
    String known = Arrays.stream(values()).map(backend -> backend.label).collect(Collectors.joining(", "));
    throw new IllegalArgumentException("decoder '" + text + "' is unknown, take one of " + known);
  }

  @Override
  public String toString() {
    return label;
  }
}
