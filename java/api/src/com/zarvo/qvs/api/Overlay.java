package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.Align;
import com.zarvo.qvs.host.model.OverlaySpec;
import java.awt.image.BufferedImage;
import java.nio.file.Path;

/** A picture, with transparency, and its place on the pictures of a ladder. */
public final class Overlay {
  private final BufferedImage picture;
  private final OverlaySpec spec;

  private Overlay(BufferedImage picture, OverlaySpec spec) {
    this.picture = picture;
    this.spec = spec;
  }

  /** The corner, edge or middle that an overlay hangs on. */
  public enum Corner {
    TOP_LEFT(Align.TOP_LEFT),
    TOP(Align.TOP),
    TOP_RIGHT(Align.TOP_RIGHT),
    LEFT(Align.LEFT),
    CENTER(Align.CENTER),
    RIGHT(Align.RIGHT),
    BOTTOM_LEFT(Align.BOTTOM_LEFT),
    BOTTOM(Align.BOTTOM),
    BOTTOM_RIGHT(Align.BOTTOM_RIGHT);

    private final Align own;

    Corner(Align own) {
      this.own = own;
    }
  }

  /** On the decoded picture, and so in all rungs; `x` and `y` are pixels from the corner towards the middle. */
  public static Overlay of(BufferedImage picture, Corner corner, int x, int y) {
    OverlaySpec spec =
        new OverlaySpec(Path.of("overlay"), corner.own, x, y, 0, 0, OverlaySpec.ON_DECODER);
    return new Overlay(picture, spec);
  }

  /** The same drawn at another size in pixels. */
  public Overlay sized(int width, int height) {
    if (width < 1 || height < 1) throw new IllegalArgumentException("an overlay has a pixel at least");
    return new Overlay(
        picture, new OverlaySpec(spec.image(), spec.align(), spec.x(), spec.y(), width, height, spec.rendition()));
  }

  /** The same on one rung alone, counted from 0. */
  public Overlay onRung(int rung) {
    if (rung < 0) throw new IllegalArgumentException("rung " + rung + " is below 0");
    return new Overlay(
        picture, new OverlaySpec(spec.image(), spec.align(), spec.x(), spec.y(), spec.width(), spec.height(), rung));
  }

  BufferedImage picture() {
    return picture;
  }

  OverlaySpec spec() {
    return spec;
  }
}
