package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.RenditionSpec;
import java.util.LinkedHashMap;
import java.util.Locale;
import java.util.Map;

/** One rung of a ladder. Each call that sets something gives a new rung, and refuses at once what it can't be. */
public final class Rung {
  private final String size;
  private final long bitRate;
  private final Map<String, String> settings;

  private Rung(String size, long bitRate, Map<String, String> settings) {
    this.size = size;
    this.bitRate = bitRate;
    this.settings = settings;
    spec();
  }

  /** Pixels, even; the bit rate is one that suits the size, the codec that of the container or H.264. */
  public static Rung of(int width, int height) {
    return new Rung(width + "x" + height, 0, Map.of());
  }

  /** Bits a second. */
  public Rung bitRate(long bitsPerSecond) {
    if (bitsPerSecond <= 0) throw new IllegalArgumentException("bit rate " + bitsPerSecond + " is not above 0");
    return new Rung(size, bitsPerSecond, settings);
  }

  public Rung codec(Codec codec) {
    if (!codec.encodes()) throw new IllegalArgumentException("codec " + codec + " is decoded only");
    return set("codec", codec.own.codecName);
  }

  public Rung fit(Fit fit) {
    return set("fit", fit.own.label());
  }

  public Rung set(Parameter parameter, Object value) {
    return set(parameter.label(), value);
  }

  /** The same by name. */
  public Rung set(String name, Object value) {
    Map<String, String> more = new LinkedHashMap<>(settings);
    String text = String.valueOf(value);
    if (text.contains(",")) throw new IllegalArgumentException(name + " '" + text + "' has a comma in it");
    more.put(name, text.toLowerCase(Locale.ROOT));
    return new Rung(size, bitRate, more);
  }

  /** Those that may make it, the most wanted first; without it those of the ladder. */
  public Rung encoders(Encoder... wanted) {
    return set("encoder", Encoder.listOf(wanted));
  }

  RenditionSpec spec() {
    StringBuilder text = new StringBuilder(size);
    if (bitRate > 0) text.append('@').append(bitRate);
    settings.forEach((name, value) -> text.append(',').append(name).append('=').append(value));
    return RenditionSpec.parse(text.toString());
  }

  @Override
  public String toString() {
    return size + "@" + spec().bitRate() + settings;
  }
}
