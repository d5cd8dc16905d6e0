package com.zarvo.qvs.host.model;

import java.util.Arrays;
import java.util.Locale;
import java.util.Set;
import java.util.stream.Collectors;

/**
 * How an H.264 or H.265 rendition is coded.
 *
 * @param preset null for the codec's usual one
 * @param profile null lets the encoder choose
 * @param level ten times the level, 9 for 1b, 0 lets the encoder choose
 * @param bFrames pictures in a row that may be predicted from both sides, {@link #AS_USUAL} where that is open
 * @param planned true to look ahead and to let the rate vary, for what nobody waits for
 */
public record VideoTuning(Preset preset, Profile profile, int level, int bFrames, boolean planned) {
  static final int AS_USUAL = -1;
  public static final VideoTuning USUAL = new VideoTuning(null, null, 0, AS_USUAL, false);
  static final int MAX_B_FRAMES = 8;
  // What a player's buffer bridges: the rate may be twice the average, for as long as two seconds at that rate last.
  private static final int PEAK_PER_AVERAGE = 2;
  private static final int BUFFER_SECONDS = 2;
  // Encoders count in 32 bits.
  private static final long MAX_RATE = 2_000_000_000;
  private static final int LEVEL_1B = 9;
  private static final Set<Integer> H265_LEVELS = Set.of(10, 20, 21, 30, 31, 40, 41, 50, 51, 52, 60, 61, 62);

  /** Speed against quality, by the names that x264 and x265 use, in their order, and what these have for files. */
  public enum Preset {
    ULTRAFAST(0, 0, 0, 0, 3, 5),
    SUPERFAST(2, 3, 1, 0, 3, 10),
    VERYFAST(4, 3, 1, 10, 4, 15),
    FASTER(6, 3, 1, 20, 4, 15),
    FAST(8, 3, 1, 30, 4, 15),
    MEDIUM(10, 3, 1, 40, 4, 20),
    SLOW(12, 3, 1, 50, 4, 25),
    SLOWER(14, 3, 2, 60, 8, 40),
    VERYSLOW(15, 8, 2, 60, 8, 40);

    /** Number of the native H.264 encoder; H.265 counts the names. */
    public final long level;

    /** How B pictures are placed in H.264: 0 evenly, 1 roughly where they pay, 2 exactly. */
    public final int bPlacement;

    private final int bFrames;
    private final int lookAhead;
    private final int hevcBFrames;
    private final int hevcLookAhead;

    Preset(long level, int bFrames, int bPlacement, int lookAhead, int hevcBFrames, int hevcLookAhead) {
      this.level = level;
      this.bFrames = bFrames;
      this.bPlacement = bPlacement;
      this.lookAhead = lookAhead;
      this.hevcBFrames = hevcBFrames;
      this.hevcLookAhead = hevcLookAhead;
    }

    public static Preset of(String text) {
      return named("preset", text, values());
    }
  }

  /** What a decoder must be able to do. */
  public enum Profile {
    BASELINE(0, 66),
    MAIN(1, 77),
    HIGH(3, 100);

    /** Number of the native H.264 encoder; H.265 has main alone. */
    public final long id;

    /** Number in an H.264 stream. */
    public final int idc;

    Profile(long id, int idc) {
      this.id = id;
      this.idc = idc;
    }
  }

  /** What the keys of a rendition say; null for those that lack. */
  static VideoTuning parse(String preset, String profile, String level, int bFrames) {
    Profile wanted = profile == null ? null : named("profile", profile, Profile.values());
    if (wanted == Profile.BASELINE && bFrames > 0)
      throw new IllegalArgumentException("bframes: the baseline profile has none");
    return new VideoTuning(preset == null ? null : Preset.of(preset), wanted, levelOf(level), bFrames, false);
  }

  /** Refuses what a codec does not know. */
  void check(VideoCodec codec) {
    if (codec == VideoCodec.H265) checkH265();
    else if (codec != VideoCodec.H264 && !equals(USUAL))
      throw new IllegalArgumentException("preset, profile, level and bframes belong to codec=h264 and codec=h265");
  }

  private void checkH265() {
    if (profile != null && profile != Profile.MAIN)
      throw new IllegalArgumentException("profile: H.265 of 8 bits has main alone");
    if (level != 0 && !H265_LEVELS.contains(level)) throw new IllegalArgumentException("level: H.265 has none like that");
  }

  /**
   * The same with nothing left open.
   *
   * @param wanted the preset where none was asked for; null takes the codec's usual one
   * @param plan true where pictures may be held back
   */
  VideoTuning settled(VideoCodec codec, Preset wanted, boolean plan) {
    boolean hevc = codec == VideoCodec.H265;
    Preset usual = wanted != null ? wanted : hevc ? Preset.SUPERFAST : Preset.VERYFAST;
    Preset taken = preset != null ? preset : usual;
    boolean planned = plan && codec.hasUnits();
    return new VideoTuning(taken, profile, level, bFrames, planned);
  }

  /** Pictures in a row that a software encoder may predict from both sides, once settled. */
  public int bFramesOf(VideoCodec codec) {
    if (bFrames != AS_USUAL) return bFrames;
    if (!planned || profile == Profile.BASELINE) return 0;
    return codec == VideoCodec.H265 ? preset.hevcBFrames : preset.bFrames;
  }

  /**
   * The same for playlists, where H.265 lies in fragments: the first picture of each was seen to lose its delay, so that
   * there are no B pictures unless asked for.
   */
  public VideoTuning ofFragments(VideoCodec codec) {
    boolean without = planned && codec == VideoCodec.H265 && bFrames == AS_USUAL;
    return without ? new VideoTuning(preset, profile, level, 0, true) : this;
  }

  /** The same of a card's encoder, which has none unless asked for. */
  public int bFramesOfCard() {
    return Math.max(bFrames, 0);
  }

  /** Pictures that the encoder is to see before it codes one. */
  public int lookAhead(VideoCodec codec) {
    return !planned ? 0 : codec == VideoCodec.H265 ? preset.hevcLookAhead : preset.lookAhead;
  }

  /** The highest rate in bits a second at which a player's buffer fills. */
  public long peak(long bitRate) {
    return Math.min(PEAK_PER_AVERAGE * bitRate, MAX_RATE);
  }

  /** Bits in that buffer. */
  public long buffer(long bitRate) {
    return Math.min(BUFFER_SECONDS * peak(bitRate), MAX_RATE);
  }

  /** The same with a stream's profile_idc (0: none) and level, as far as neither is asked for outright. */
  public VideoTuning keeping(int profileIdc, int streamLevel) {
    Profile same = profile;
    for (Profile each : Profile.values()) if (profile == null && each.idc == profileIdc) same = each;
    return new VideoTuning(preset, same, level != 0 ? level : streamLevel, bFrames, planned);
  }

  private static int levelOf(String text) {
    if (text == null) return 0;
    if (text.equals("1b")) return LEVEL_1B;
    if (!text.matches("[1-6](\\.[0-3])?"))
      throw new IllegalArgumentException("level '" + text + "' is not like 4.1");
    return Integer.parseInt(text.substring(0, 1)) * 10 + (text.length() > 1 ? text.charAt(2) - '0' : 0);
  }

  private static <T extends Enum<T>> T named(String what, String text, T[] values) {
    for (T value : values) if (value.name().equals(text.toUpperCase(Locale.ROOT))) return value;
    String known = Arrays.stream(values).map(v -> v.name().toLowerCase(Locale.ROOT)).collect(Collectors.joining(", "));
    throw new IllegalArgumentException(what + " '" + text + "' is unknown, take one of " + known);
  }
}
