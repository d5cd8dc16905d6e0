package com.zarvo.qvs.host.bitstream;

import java.util.Arrays;
import java.util.List;

/** How the parameter sets of a stream differ from those that it had before. */
public enum ParameterSetChange {
  /** Not at all, or the codec has none. */
  NONE(""),
  /** Other sets of the same profile and level. */
  DETAILS(", with other parameter sets"),
  /** Another profile or level: players are to be told. */
  PROFILE(", with another profile or level");

  /** For a line, behind what happened. */
  public final String text;

  ParameterSetChange(String text) {
    this.text = text;
  }

  /** Between the sets of two access units; `hevc` tells H.265 from H.264. */
  public static ParameterSetChange between(boolean hevc, List<byte[]> before, List<byte[]> after) {
    if (same(before, after)) return NONE;
    return StreamProfile.of(hevc, before).equals(StreamProfile.of(hevc, after)) ? DETAILS : PROFILE;
  }

  private static boolean same(List<byte[]> before, List<byte[]> after) {
    if (before.size() != after.size()) return false;
    for (int i = 0; i < before.size(); i++) if (!Arrays.equals(before.get(i), after.get(i))) return false;
    return true;
  }
}
