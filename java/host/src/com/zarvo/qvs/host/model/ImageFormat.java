package com.zarvo.qvs.host.model;

import java.util.Locale;

/** Formats of still pictures; in the order of the native side. */
public enum ImageFormat {
  JPG(65500),
  PNG(16384),
  WEBP(16383);

  /** Pixels to a side that a file may have. */
  public final int maxSide;

  ImageFormat(int maxSide) {
    this.maxSide = maxSide;
  }

  public static ImageFormat of(String text) {
    String wanted = text.equalsIgnoreCase("jpeg") ? "jpg" : text.toLowerCase(Locale.ROOT);
    for (ImageFormat format : values()) if (format.suffix().equals(wanted)) return format;
    throw new IllegalArgumentException("format '" + text + "' is unknown, take jpg, png or webp");
  }

  /** What a file's name ends in, without the dot. */
  public String suffix() {
    return name().toLowerCase(Locale.ROOT);
  }
}
