package com.zarvo.qvs.host.model;

import java.util.Arrays;
import java.util.Locale;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;

/**
 * Where a session's pictures are decoded, scaled, drawn on and encoded.
 *
 * @param number of the card, from 0
 */
public record Device(Kind kind, int number) {
  /** The processor, and nothing else. */
  public static final Device SOFTWARE = new Device(Kind.SOFTWARE, 0);

  private static final Pattern FORM = Pattern.compile("([a-z0-9]+)(?::(\\d{1,3}))?");

  /** A row each: its name, the native side's number and name of its scaler, the decoder and encoders that go with it. */
  public enum Kind {
    SOFTWARE("software", 1, "default", false, DecoderBackend.SOFTWARE, EncoderList.SOFTWARE),
    CUDA("cuda", 100, "CUDA", false, DecoderBackend.NVCUVID, EncoderList.parse("nvenc+software")),
    U30("u30", 500, "XILINX", true, DecoderBackend.U30, EncoderList.parse("u30+software"));

    /** As a user names it. */
    public final String label;

    /** The native side's number of what scales. */
    public final long scaler;

    /** What the session's log calls what scales. */
    public final String scalerName;

    /** True where all renditions are made in one pass, and may belong to an earlier picture. */
    public final boolean onePass;

    /** What decodes where nothing else is named. */
    public final DecoderBackend decoder;

    /** What encodes where nothing else is named. */
    public final EncoderList encoders;

    Kind(
        String label, long scaler, String scalerName, boolean onePass, DecoderBackend decoder, EncoderList encoders) {
      this.label = label;
      this.scaler = scaler;
      this.scalerName = scalerName;
      this.onePass = onePass;
      this.decoder = decoder;
      this.encoders = encoders;
    }
  }

  /** Reads "cuda" or "u30:1". */
  public static Device parse(String text) {
    Matcher parts = FORM.matcher(text.toLowerCase(Locale.ROOT));
    if (parts.matches())
      for (Kind kind : Kind.values())
        if (kind.label.equals(parts.group(1)))
          return new Device(kind, parts.group(2) == null ? 0 : Integer.parseInt(parts.group(2)));
    String known = Arrays.stream(Kind.values()).map(kind -> kind.label).collect(Collectors.joining(", "));
    throw new IllegalArgumentException("device '" + text + "' is unknown, take one of " + known + ", with :N for a card");
  }

  public boolean isSoftware() {
    return kind == Kind.SOFTWARE;
  }

  /** True where an encoder works on this kind of card. */
  public boolean hosts(EncoderBackend backend) {
    return !isSoftware() && backend.hardware && kind.encoders.backends().contains(backend);
  }

  @Override
  public String toString() {
    return isSoftware() ? kind.label : kind.label + ":" + number;
  }
}
