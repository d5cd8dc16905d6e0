package com.zarvo.qvs.host.model;

import java.nio.file.Path;
import java.util.Set;
import java.util.TreeSet;

/**
 * One overlay as the user asks for it.
 *
 * @param x distance from the aligned edge towards the middle, pixels; from the middle to the right when centred
 * @param y the same downwards or upwards
 * @param width pixels to draw, 0 for the image's own size
 * @param height pixels to draw, 0 for the image's own size
 * @param rendition number of the rendition, or {@link #ON_DECODER}
 */
public record OverlaySpec(Path image, Align align, int x, int y, int width, int height, int rendition) {
  /** The overlay is drawn once on the decoded picture and so appears in all renditions. */
  public static final int ON_DECODER = -1;

  private static final Set<String> KEYS = new TreeSet<>(Set.of("align", "x", "y", "width", "height", "on"));
  private static final int MAX_OFFSET = 8192;

  /** True where it lies off the right or the bottom edge by some pixels. */
  public boolean hangsFarWithOffset() {
    return align.column() == 2 && x != 0 || align.row() == 2 && y != 0;
  }

  /** Reads "logo.png,align=top-right,x=20,y=20,width=100,height=50,on=decoder"; all behind the file may lack. */
  public static OverlaySpec parse(String text) {
    SpecText spec = new SpecText(text, KEYS);
    if (spec.head.isEmpty()) throw new IllegalArgumentException("overlay '" + text + "' names no image");
    String on = spec.get("on", "decoder");
    return new OverlaySpec(
        Path.of(spec.head),
        Align.of(spec.get("align", "top-left")),
        spec.getInt("x", 0, -MAX_OFFSET, MAX_OFFSET),
        spec.getInt("y", 0, -MAX_OFFSET, MAX_OFFSET),
        spec.getInt("width", 0, 1, MAX_OFFSET),
        spec.getInt("height", 0, 1, MAX_OFFSET),
        on.equals("decoder") ? ON_DECODER : SpecText.parseInt("on", on, 0, 63));
  }
}
