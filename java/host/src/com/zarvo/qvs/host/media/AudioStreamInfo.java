package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Rational;
import java.util.Locale;
import java.util.Map;
import java.util.MissingResourceException;

/**
 * An audio stream of a container file.
 *
 * @param number counted from 1 over all audio streams of the file
 * @param language as the container names it, mostly in three letters; "" when it does not
 * @param codecName as libavcodec names it
 * @param sampleRate samples a second, 0 when the container does not tell
 * @param channels 0 when the container does not tell
 * @param timeBase unit of packet times, in seconds
 * @param durationMs milliseconds, -1 when unknown
 * @param config the codec's configuration as libavformat keeps it, may be empty
 */
public record AudioStreamInfo(
    int number,
    String language,
    String codecName,
    int sampleRate,
    int channels,
    Rational timeBase,
    long durationMs,
    byte[] config,
    Coding coding) {

  /** What only decoders of some codecs ask for; 0 where it is not known. */
  public record Coding(long channelMask, int blockAlign, int bitsPerSample, long bitRate, long codecTag) {
    public static final Coding UNKNOWN = new Coding(0, 0, 0, 0, 0);
  }

  // Both codes of a language with two; containers use either.
  private static final Map<String, String> SECOND_CODES =
      Map.ofEntries(
          Map.entry("alb", "sqi"), Map.entry("arm", "hye"), Map.entry("baq", "eus"), Map.entry("bur", "mya"),
          Map.entry("chi", "zho"), Map.entry("cze", "ces"), Map.entry("dut", "nld"), Map.entry("fre", "fra"),
          Map.entry("geo", "kat"), Map.entry("ger", "deu"), Map.entry("gre", "ell"), Map.entry("ice", "isl"),
          Map.entry("mac", "mkd"), Map.entry("mao", "mri"), Map.entry("may", "msa"), Map.entry("per", "fas"),
          Map.entry("rum", "ron"), Map.entry("slo", "slk"), Map.entry("tib", "bod"), Map.entry("wel", "cym"));

  /** True when it is in that language, named by two letters or three. */
  public boolean speaks(String wanted) {
    return !language.isEmpty() && normal(language).equals(normal(wanted));
  }

  private static String normal(String code) {
    String lower = code.toLowerCase(Locale.ROOT);
    try {
      if (lower.length() == 2) return new Locale(lower).getISO3Language();
    } catch (MissingResourceException e) {
      return lower;
    }
    return SECOND_CODES.getOrDefault(lower, lower);
  }

  /** The stream in a line of text. */
  @Override
  public String toString() {
    return "track " + number + " (" + codecName + (sampleRate > 0 ? ", " + sampleRate + " Hz" : "")
        + (channels > 0 ? ", " + channels + (channels == 1 ? " channel" : " channels") : "")
        + (language.isEmpty() ? "" : ", " + language) + ")";
  }
}
