package com.zarvo.qvs.host.session;

import com.google.gson.JsonArray;
import com.google.gson.JsonElement;
import com.google.gson.JsonObject;
import com.google.gson.JsonParseException;
import com.google.gson.JsonParser;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/**
 * What a plug-in library is, as the probe found it.
 *
 * @param loaded false where it couldn't even be loaded
 * @param reason in words, why it isn't available, or what is wrong with it all the same; else ""
 * @param version numbers, with a point between; "" where it told none
 * @param versionText the back end's version in its own words, or ""
 * @param description what it tells of itself, null where it tells nothing
 * @param trial how the session of a trial went, null where there was none
 */
public record PluginReport(
    State state,
    boolean loaded,
    String reason,
    String version,
    String versionText,
    Description description,
    Trial trial) {
  /** What became of a library. */
  public enum State {
    AVAILABLE,
    UNAVAILABLE,
    MISSING,
    BROKEN,
    CRASHED,
    HUNG;

    /** True where the library itself is at fault, rather than the machine that lacks something. */
    public boolean isFault() {
      return this == BROKEN || this == CRASHED || this == HUNG;
    }
  }

  /** A parameter key of a plug-in; numbers are as the plug-in writes them. */
  public record Key(String number, String name, String type, String low, String high, String initial, String does) {}

  /** What a plug-in tells of itself. The greatest size is 0 where it is not told. */
  public record Description(
      String name, List<String> codecs, String standsOn, long maxWidth, long maxHeight, List<Key> keys) {}

  /**
   * How a session went.
   *
   * @param encodes false where the session was opened and closed only
   * @param failedIn the call that failed, "" for none
   * @param refused settings that it didn't take
   */
  public record Trial(
      boolean works,
      boolean encodes,
      String failedIn,
      String reason,
      List<String> refused,
      long frames,
      long bytes,
      double milliseconds) {}

  static PluginReport of(State state, String reason) {
    return new PluginReport(state, false, reason, "", "", null, null);
  }

  /** Reads the document of qvs-plugin-probe. A plug-in may tell odd things of itself in it. */
  static PluginReport parse(String document) {
    try {
      JsonObject report = JsonParser.parseString(document).getAsJsonObject();
      State state = State.valueOf(text(report, "state").toUpperCase(Locale.ROOT));
      JsonObject version = report.has("version") ? report.getAsJsonObject("version") : new JsonObject();
      String numbers = text(version, "major") + "." + text(version, "minor");
      return new PluginReport(
          state,
          report.has("loaded") && report.get("loaded").getAsBoolean(),
          text(report, report.has("reason") ? "reason" : "descriptionTrouble"),
          numbers.equals(".") || numbers.equals("0.0") ? "" : numbers,
          // Of one that isn't available these are the words of the reason.
          state == State.UNAVAILABLE ? "" : text(version, "text"),
          description(object(report, "description")),
          trial(object(report, "trial")));
    } catch (JsonParseException | IllegalStateException | IllegalArgumentException | ClassCastException
        | UnsupportedOperationException e) {
      return of(State.BROKEN, "tells of itself what nobody can read");
    }
  }

  private static Description description(JsonObject from) {
    if (from == null) return null;
    List<Key> keys = new ArrayList<>();
    for (JsonElement element : array(from, "keys")) {
      JsonObject key = element.getAsJsonObject();
      keys.add(
          new Key(
              text(key, "key"), text(key, "name"), text(key, "type"), text(key, "low"), text(key, "high"),
              text(key, "default"), text(key, "does")));
    }
    return new Description(
        text(from, "name"), texts(from, "codecs"), text(from, "standsOn"), number(from, "maxWidth"), number(from, "maxHeight"), keys);
  }

  private static Trial trial(JsonObject from) {
    if (from == null) return null;
    return new Trial(
        from.get("works").getAsBoolean(),
        text(from, "did").equals("encode"),
        text(from, "failedIn"),
        text(from, "reason"),
        texts(from, "refused"),
        number(from, "frames"),
        number(from, "bytes"),
        from.get("milliseconds") == null ? 0 : from.get("milliseconds").getAsDouble());
  }

  private static JsonObject object(JsonObject from, String key) {
    return from.has(key) ? from.getAsJsonObject(key) : null;
  }

  private static JsonArray array(JsonObject from, String key) {
    return from.has(key) ? from.getAsJsonArray(key) : new JsonArray();
  }

  private static List<String> texts(JsonObject from, String key) {
    List<String> texts = new ArrayList<>();
    for (JsonElement element : array(from, key)) texts.add(element.getAsString());
    return texts;
  }

  private static String text(JsonObject from, String key) {
    return from.has(key) ? from.get(key).getAsString() : "";
  }

  private static long number(JsonObject from, String key) {
    return from.has(key) ? from.get(key).getAsLong() : 0;
  }
}
