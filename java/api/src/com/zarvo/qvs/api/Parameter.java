package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.VideoTuning;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;

/** What can be set of a rung by name, with type and range. */
public enum Parameter {
  FRAME_RATE("fps", Type.NUMBER, 0, 1000, List.of(), "highest pictures a second, 0 for the source's own"),
  CROP("crop", Type.EDGES, 0, 8192, List.of(), "left:right:top:bottom pixels cut from the source"),
  PADDING("pad", Type.EDGES, 0, 8192, List.of(), "left:right:top:bottom pixels left free in the rung"),
  PRESET("preset", Type.CHOICE, 0, 0, names(VideoTuning.Preset.values()), "speed against quality, H.264 and H.265"),
  PROFILE("profile", Type.CHOICE, 0, 0, names(VideoTuning.Profile.values()), "what a decoder must be able to do"),
  LEVEL("level", Type.NUMBER, 1, 6.3, List.of(), "of the stream, as 4.1; 1b too"),
  B_FRAMES("bframes", Type.WHOLE, 0, 8, List.of(), "pictures in a row predicted from both sides");

  /** What a value looks like. */
  public enum Type {
    WHOLE,
    NUMBER,
    CHOICE,
    /** Four whole numbers with colons between. */
    EDGES
  }

  private final String label;
  private final Type type;
  private final double min;
  private final double max;
  private final List<String> choices;
  private final String meaning;

  Parameter(String label, Type type, double min, double max, List<String> choices, String meaning) {
    this.label = label;
    this.type = type;
    this.min = min;
    this.max = max;
    this.choices = choices;
    this.meaning = meaning;
  }

  private static List<String> names(Enum<?>[] values) {
    return Arrays.stream(values).map(value -> value.name().toLowerCase(Locale.ROOT)).toList();
  }

  /** Its name in {@link Rung#set(String, Object)}. */
  public String label() {
    return label;
  }

  public Type type() {
    return type;
  }

  public double min() {
    return min;
  }

  public double max() {
    return max;
  }

  /** The values of a choice, else empty. */
  public List<String> choices() {
    return choices;
  }

  public String meaning() {
    return meaning;
  }
}
