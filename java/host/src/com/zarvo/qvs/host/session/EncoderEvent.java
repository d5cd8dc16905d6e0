package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.bitstream.ParameterSetChange;
import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.LinkedHashMap;
import java.util.Locale;
import java.util.Map;

/**
 * Something that befell the encoder of a rendition.
 *
 * @param rendition its number
 * @param milliseconds timecode of the first picture that is concerned, -1 before any
 * @param from what was tried or failed
 * @param to what took its place, null for a refusal
 * @param why the reason in words
 * @param picturesAgain pictures that the successor was given once more
 * @param gapMs from the failed call to the successor's first packet
 * @param change what became of the stream's parameter sets
 */
public record EncoderEvent(
    Kind kind,
    int rendition,
    RenditionSpec spec,
    long milliseconds,
    EncoderBackend from,
    EncoderBackend to,
    EncoderFault fault,
    String why,
    int picturesAgain,
    double gapMs,
    ParameterSetChange change) {

  /** What it was. */
  public enum Kind {
    /** An encoder of the list was not taken: it never gave a packet. */
    REFUSED,
    /** An encoder failed while it ran, and the next one is to take its place. */
    ASKED,
    /** The first packet of an encoder came that took another's place. */
    APPLIED
  }

  static EncoderEvent refused(int rendition, RenditionSpec spec, EncoderBackend who, EncoderFault fault, String why) {
    return new EncoderEvent(
        Kind.REFUSED, rendition, spec, -1, who, null, fault, why, 0, 0, ParameterSetChange.NONE);
  }

  static EncoderEvent asked(
      int rendition,
      RenditionSpec spec,
      long milliseconds,
      EncoderBackend from,
      EncoderBackend to,
      EncoderFault fault,
      String why,
      int picturesAgain) {
    return new EncoderEvent(
        Kind.ASKED, rendition, spec, milliseconds, from, to, fault, why, picturesAgain, 0, ParameterSetChange.NONE);
  }

  EncoderEvent applied(EncoderBackend who, double afterMs, ParameterSetChange sets) {
    return new EncoderEvent(
        Kind.APPLIED, rendition, spec, milliseconds, from, who, fault, why, picturesAgain, afterMs, sets);
  }

  /** The members that a report gets. */
  public Map<String, Object> toMap() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("encoder", from.label);
    map.put("fault", fault.name().toLowerCase(Locale.ROOT));
    map.put("why", why);
    if (kind == Kind.REFUSED) return map;
    map.put("seconds", milliseconds / 1000.0);
    map.put("to", to.label);
    map.put("picturesAgain", picturesAgain);
    map.put("gapMs", gapMs);
    map.put("parameterSets", change.name().toLowerCase(Locale.ROOT));
    return map;
  }

  /** One line for a person. */
  @Override
  public String toString() {
    String head = spec.sizeText() + ": encoder " + from + " ";
    if (kind == Kind.REFUSED) return head + "is not taken, " + fault.text + ": " + why;
    String at = String.format(Locale.ROOT, "at %.3f s", milliseconds / 1000.0);
    if (kind == Kind.ASKED) return head + fault.text + " " + at + ": " + why;
    return String.format(
        Locale.ROOT, "%s: encoder %s goes on %s in place of %s, %d pictures encoded again, %.0f ms%s", spec.sizeText(), to,
        at, from, picturesAgain, gapMs, change.text);
  }
}
