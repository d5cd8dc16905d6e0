package com.zarvo.qvs.host.model;

import java.util.Comparator;
import java.util.List;
import java.util.Locale;
import java.util.Set;
import java.util.TreeSet;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * One rendition as the user asks for it.
 *
 * @param width pixels, even
 * @param height pixels, even
 * @param bitRate bits a second
 * @param codec null for the usual one of the container
 * @param frameRate highest pictures a second, 0 for the source's own
 * @param crop left, right, top, bottom pixels cut from the source, null for none
 * @param padding left, right, top, bottom pixels left free in the rendition, null for none
 * @param tuning for H.264 and H.265
 * @param encoders that may make it, null for those of the session
 */
public record RenditionSpec(
    int width,
    int height,
    long bitRate,
    VideoCodec codec,
    FitMode fit,
    double frameRate,
    long[] crop,
    long[] padding,
    VideoTuning tuning,
    EncoderList encoders) {

  public static final int MIN_SIZE = 32;
  public static final int MAX_SIZE = 8192;
  private static final long MIN_BIT_RATE = 1000;
  private static final long MAX_BIT_RATE = 1_000_000_000;
  private static final Set<String> KEYS =
      new TreeSet<>(Set.of("codec", "fit", "fps", "crop", "pad", "preset", "profile", "level", "bframes", "encoder"));
  private static final Pattern HEAD = Pattern.compile("(\\d{1,6})x(\\d{1,6})(?:@(\\d{1,9}(?:\\.\\d{1,6})?)([kKmM]?))?");
  private static final List<int[]> H263_SIZES =
      List.of(new int[] {128, 96}, new int[] {176, 144}, new int[] {352, 288}, new int[] {704, 576}, new int[] {1408, 1152});
  private static final double BITS_A_PIXEL = 0.09;
  private static final double USUAL_FRAME_RATE = 30;
  private static final double MAX_STRETCH = 0.01;

  /** Reads "1280x720@2500k,codec=vp9,fit=letterbox,fps=30,crop=L:R:T:B,pad=L:R:T:B"; all behind the size may lack. */
  public static RenditionSpec parse(String text) {
    SpecText spec = new SpecText(text, KEYS);
    Matcher head = HEAD.matcher(spec.head);
    if (!head.matches())
      throw new IllegalArgumentException("rendition '" + text + "' is not like 1280x720@2500k,fps=30");
    int width = size("width", head.group(1));
    int height = size("height", head.group(2));
    long bitRate =
        head.group(3) == null
            ? defaultBitRate(width, height, USUAL_FRAME_RATE)
            : bitRate(head.group(3), head.group(4));
    VideoCodec codec = spec.get("codec", null) == null ? null : VideoCodec.ofRendition(spec.get("codec", null));
    FitMode fit = FitMode.of(spec.get("fit", "letterbox"));
    RenditionSpec parsed =
        new RenditionSpec(
            width,
            height,
            bitRate,
            codec,
            fit,
            frameRate(spec.get("fps", "0")),
            edges("crop", spec.get("crop", null)),
            edges("pad", spec.get("pad", null)),
            tuning(spec, codec),
            spec.get("encoder", null) == null ? null : EncoderList.parse(spec.get("encoder", null)));
    parsed.checkPadding();
    if (codec != null) parsed.checkSize(codec);
    return parsed;
  }

  private static VideoTuning tuning(SpecText spec, VideoCodec codec) {
    VideoTuning tuning =
        VideoTuning.parse(
            spec.get("preset", null), spec.get("profile", null), spec.get("level", null),
            spec.getInt("bframes", VideoTuning.AS_USUAL, 0, VideoTuning.MAX_B_FRAMES));
    if (codec != null) tuning.check(codec);
    return tuning;
  }

  /** The same with everything settled that was left to the job, to be coded as pictures come. */
  public RenditionSpec settled(VideoCodec usualCodec, double usualFrameRate, VideoTuning.Preset usualPreset) {
    return settled(usualCodec, usualFrameRate, usualPreset, false);
  }

  /** The same; `plan` where the encoder may hold pictures back. */
  public RenditionSpec settled(
      VideoCodec usualCodec, double usualFrameRate, VideoTuning.Preset usualPreset, boolean plan) {
    VideoCodec settled = codec != null ? codec : usualCodec;
    checkSize(settled);
    return new RenditionSpec(
        width, height, bitRate, settled, fit, frameRate > 0 ? frameRate : usualFrameRate, crop, padding,
        tuning.settled(settled, usualPreset, plan), encoders);
  }

  /** The same, coded otherwise. */
  public RenditionSpec tunedTo(VideoTuning other) {
    return new RenditionSpec(width, height, bitRate, codec, fit, frameRate, crop, padding, other, encoders);
  }

  /** A rate that looks well at the size. */
  public static long defaultBitRate(int width, int height, double frameRate) {
    double bits = width * (double) height * Math.min(frameRate, 60) * BITS_A_PIXEL;
    return Math.max(50_000, Math.round(bits / 10_000) * 10_000);
  }

  public String sizeText() {
    return width + "x" + height;
  }

  /** True when the rendition needs the library's own placement beyond whole picture to whole picture. */
  public boolean needsPlacement() {
    return fit == FitMode.FILL || crop != null || padding != null;
  }

  /** The same for a picture of that aspect: where it differs by rounding alone, bars would be a pixel or two wide. */
  public RenditionSpec fittedTo(double aspect) {
    if (fit != FitMode.LETTERBOX || !(Math.abs(width - height * aspect) <= MAX_STRETCH * width)) return this;
    return new RenditionSpec(width, height, bitRate, codec, FitMode.STRETCH, frameRate, crop, padding, tuning, encoders);
  }

  /**
   * The same with the bars of a letterbox told outright, for a picture of that aspect: for decoders that do not tell
   * the aspect.
   */
  public RenditionSpec withOwnBars(double aspect) {
    if (fit != FitMode.LETTERBOX || crop != null) return this;
    int across = Math.max(0, (int) Math.round((width - height * aspect) / 4)) * 2;
    int down = Math.max(0, (int) Math.round((height - width / aspect) / 4)) * 2;
    long[] bars = {across, across, down, down};
    return new RenditionSpec(
        width, height, bitRate, codec, FitMode.STRETCH, frameRate, null, across + down > 0 ? bars : null, tuning, encoders);
  }

  /** H.263 has codes for five sizes and no other. */
  private void checkSize(VideoCodec wanted) {
    if (wanted != VideoCodec.H263 || H263_SIZES.stream().anyMatch(size -> size[0] == width && size[1] == height)) return;
    List<int[]> nearest =
        H263_SIZES.stream()
            .sorted(Comparator.comparingDouble(size -> Math.abs(Math.log((double) size[0] * size[1] / (width * height)))))
            .limit(2)
            .toList();
    throw new IllegalArgumentException(
        String.format(
            Locale.ROOT, "H.263 has no size %s, the nearest are %dx%d and %dx%d",
            sizeText(), nearest.get(0)[0], nearest.get(0)[1], nearest.get(1)[0], nearest.get(1)[1]));
  }

  private void checkPadding() {
    if (padding == null) return;
    if (fit == FitMode.LETTERBOX)
      throw new IllegalArgumentException("pad needs fit=stretch, a letterbox makes its own bars");
    if (fit == FitMode.FILL) throw new IllegalArgumentException("pad needs fit=stretch, fill leaves no room");
    if (padding[0] + padding[1] >= width || padding[2] + padding[3] >= height)
      throw new IllegalArgumentException("pad leaves nothing of " + sizeText());
  }

  private static int size(String what, String text) {
    int size = SpecText.parseInt(what, text, MIN_SIZE, MAX_SIZE);
    if (size % 2 != 0)
      throw new IllegalArgumentException(what + " " + size + " is odd, 4:2:0 pictures need even sizes");
    return size;
  }

  private static long bitRate(String number, String unit) {
    double factor = unit.isEmpty() ? 1 : unit.toLowerCase(Locale.ROOT).equals("k") ? 1e3 : 1e6;
    double bits = Double.parseDouble(number) * factor;
    if (bits < MIN_BIT_RATE || bits > MAX_BIT_RATE)
      throw new IllegalArgumentException("bit rate '" + number + unit + "' is outside 1k to 1000m");
    return Math.round(bits);
  }

  public static double frameRate(String text) {
    double rate;
    try {
      int slash = text.indexOf('/');
      rate =
          slash < 0
              ? Double.parseDouble(text)
              : Double.parseDouble(text.substring(0, slash)) / Double.parseDouble(text.substring(slash + 1));
    } catch (NumberFormatException e) {
      throw new IllegalArgumentException("fps '" + text + "' is not a number");
    }
    if (!(rate >= 0 && rate <= 1000)) throw new IllegalArgumentException("fps '" + text + "' is outside 0 to 1000");
    return rate;
  }

  private static long[] edges(String what, String text) {
    if (text == null) return null;
    String[] parts = text.split(":", -1);
    if (parts.length != 4)
      throw new IllegalArgumentException(what + " '" + text + "' is not left:right:top:bottom");
    long[] edges = new long[4];
    for (int i = 0; i < 4; i++) edges[i] = SpecText.parseInt(what, parts[i], 0, MAX_SIZE);
    return edges;
  }
}
