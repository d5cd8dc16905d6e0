package com.zarvo.qvs.host.session;

import java.util.LinkedHashMap;
import java.util.Locale;
import java.util.Map;

/**
 * Something that befell a capture.
 *
 * @param ms when, on the clock of the renditions
 * @param detail what is to be said of it
 */
public record CaptureEvent(Kind kind, long ms, String detail) {
  /** What there is, in the words of lines and reports. */
  public enum Kind {
    SIGNAL_LOST("signal lost"),
    SIGNAL_BACK("signal back"),
    FORMAT_CHANGED("format changed"),
    SOUND_LOST("sound lost"),
    SOUND_BACK("sound back"),
    PICTURES_DROPPED("pictures dropped"),
    CUE("cue");

    public final String text;

    Kind(String text) {
      this.text = text;
    }
  }

  /** For a report. */
  public Map<String, Object> toMap() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("seconds", ms / 1000.0);
    map.put("event", kind.text);
    map.put("detail", detail);
    return map;
  }

  @Override
  public String toString() {
    return String.format(Locale.ROOT, "%s at %.3f s: %s", kind.text, ms / 1000.0, detail);
  }
}
