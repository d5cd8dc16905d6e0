package com.zarvo.qvs.host.model;

import java.util.Arrays;
import java.util.Locale;
import java.util.Map;

/** Codecs by the names of containers and command line, with the numbers of the native side. */
public enum VideoCodec {
  VP8("vp8", 8, 8, true),
  VP9("vp9", 8, 9, true),
  SPARK("flv1", 2, 0, false),
  H264("h264", 7, 0, true),
  H263("h263", 9, 0, true),
  MPEG4("mpeg4", 10, 0, false),
  MPEG2("mpeg2video", 11, 0, false),
  H265("hevc", 12, 0, true),
  /** Pictures that the host has decoded. */
  RAW("planes", 100, 0, false);

  // Older or extended forms that the same decoder takes, and what people call a codec.
  private static final Map<String, String> ALIASES =
      Map.of("mpeg1video", "mpeg2video", "h263p", "h263", "h265", "hevc");

  /** As libavcodec names it. */
  public final String codecName;

  /** Codec number of the native side. */
  public final long id;

  /** Tells codecs of one number apart. */
  public final long version;

  /** True when renditions can be made in it. */
  public final boolean encodes;

  VideoCodec(String codecName, long id, long version, boolean encodes) {
    this.codecName = codecName;
    this.id = id;
    this.version = version;
    this.encodes = encodes;
  }

  /** True for codecs whose packets are units behind lengths or start codes. */
  public boolean hasUnits() {
    return this == H264 || this == H265;
  }

  /** True where all that the decoder need know is in the packets. */
  public boolean wantsNoConfig() {
    return this == VP8 || this == VP9;
  }

  /** True where every decoder gives the same pictures to the bit; elsewhere the transform's rounding is free. */
  public boolean isExact() {
    return hasUnits() || wantsNoConfig();
  }

  /** True where interlaced pictures are deinterlaced on demand, into one or two pictures. */
  public boolean deinterlaces() {
    return !wantsNoConfig() && this != H265 && this != RAW;
  }

  /** True where pictures may be coded in another order than they are shown in. */
  public boolean reorders() {
    return hasUnits() || this == MPEG4 || this == MPEG2;
  }

  /** The codec of a container's stream. */
  public static VideoCodec ofStream(String codecName) throws HostException {
    String known = ALIASES.getOrDefault(codecName, codecName);
    for (VideoCodec codec : values()) if (codec != RAW && codec.codecName.equals(known)) return codec;
    throw new HostException("video codec '" + codecName + "' is not supported");
  }

  /** True for a codec of a container's stream that the session decodes. */
  public static boolean isKnown(String codecName) {
    String known = ALIASES.getOrDefault(codecName, codecName);
    return Arrays.stream(values()).anyMatch(codec -> codec != RAW && codec.codecName.equals(known));
  }

  /** The codec that a rendition asks for. */
  public static VideoCodec ofRendition(String text) {
    String lower = text.toLowerCase(Locale.ROOT);
    String known = ALIASES.getOrDefault(lower, lower);
    for (VideoCodec codec : values()) if (codec.encodes && codec.codecName.equals(known)) return codec;
    throw new IllegalArgumentException("codec '" + text + "' is unknown, take h264, h265, h263, vp8 or vp9");
  }
}
