package com.zarvo.qvs.host.model;

import java.util.Locale;
import java.util.Set;
import java.util.TreeSet;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * One audio rendition as the user asks for it.
 *
 * @param bitRate bits a second
 * @param sampleRate samples a second, 0 for the source's own where the codec takes it
 * @param channels 0 for the source's own, two at most
 * @param sourceMask speaker bits of the source, 0 for the usual ones
 * @param targetMask speaker bits of the rendition, 0 for the usual ones
 */
public record AudioSpec(
    AudioCodec codec, long bitRate, int sampleRate, int channels, int sourceMask, int targetMask) {

  public static final int MAX_RATE = 192_000;
  public static final int MAX_CHANNELS = 8;
  private static final int MAX_CODED_CHANNELS = 2;
  private static final long MIN_BIT_RATE = 2000;
  private static final long MAX_BIT_RATE = 2_000_000;
  private static final long DEFAULT_BIT_RATE = 128_000;
  private static final Set<String> KEYS = new TreeSet<>(Set.of("rate", "channels", "mask", "source-mask"));
  private static final Pattern HEAD = Pattern.compile("([a-zA-Z0-9]+)(?:@(\\d{1,9}(?:\\.\\d{1,6})?)([kKmM]?))?");

  /** Reads "aac@128k,rate=48000,channels=2,mask=0x3"; all behind the codec may lack. */
  public static AudioSpec parse(String text) {
    SpecText spec = new SpecText(text, KEYS);
    Matcher head = HEAD.matcher(spec.head);
    if (!head.matches()) throw new IllegalArgumentException("audio '" + text + "' is not like opus@96k,rate=48000");
    AudioCodec codec = AudioCodec.ofRendition(head.group(1));
    long bitRate = head.group(2) == null ? DEFAULT_BIT_RATE : bitRate(head.group(2), head.group(3));
    int rate = spec.getInt("rate", 0, 1, MAX_RATE);
    if (rate != 0 && !codec.takesRate(rate))
      throw new IllegalArgumentException(codec.codecName + " does not take a rate of " + rate);
    int most = codec == AudioCodec.AAC ? MAX_CHANNELS : MAX_CODED_CHANNELS;
    int channels = spec.getInt("channels", 0, 1, most);
    return new AudioSpec(
        codec,
        bitRate,
        rate,
        channels,
        mask("source-mask", spec.get("source-mask", "0"), 0),
        mask("mask", spec.get("mask", "0"), channels));
  }

  /** Speaker bits, decimal or 0x and hexadecimal; as many as there are channels when those are known. */
  public static int mask(String what, String text, int channels) {
    int mask;
    try {
      mask = Integer.decode(text);
    } catch (NumberFormatException e) {
      throw new IllegalArgumentException(what + " '" + text + "' is not a number");
    }
    if (mask < 0 || mask > 0xFFFF) throw new IllegalArgumentException(what + " '" + text + "' is outside 0 to 0xffff");
    if (mask != 0 && channels != 0 && Integer.bitCount(mask) != channels)
      throw new IllegalArgumentException(what + " '" + text + "' does not name " + channels + " speakers");
    return mask;
  }

  private static long bitRate(String number, String unit) {
    double factor = unit.isEmpty() ? 1 : unit.toLowerCase(Locale.ROOT).equals("k") ? 1e3 : 1e6;
    double bits = Double.parseDouble(number) * factor;
    if (bits < MIN_BIT_RATE || bits > MAX_BIT_RATE)
      throw new IllegalArgumentException("bit rate '" + number + unit + "' is outside 2k to 2m");
    return Math.round(bits);
  }

  /** The same with rate and channels settled for a source; 0 where the source tells none. */
  public AudioSpec settled(int sourceRate, int sourceChannels) {
    int wanted = sourceRate > 0 ? sourceRate : 48_000;
    int rate = sampleRate > 0 ? sampleRate : codec.nearestRate(wanted);
    int count = channels > 0 ? channels : Math.max(1, Math.min(sourceChannels, MAX_CODED_CHANNELS));
    return new AudioSpec(codec, bitRate, rate, count, sourceMask, targetMask);
  }

  /** Codec and bit rate as they stand in file names. */
  public String nameText() {
    return codec.codecName + "_" + Math.round(bitRate / 1000.0) + "k";
  }
}
