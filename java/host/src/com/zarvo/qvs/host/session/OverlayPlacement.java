package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.Orientation;
import com.zarvo.qvs.host.model.OverlaySpec;
import java.awt.Rectangle;

/** Where an overlay comes to lie on a picture. */
public final class OverlayPlacement {
  public final int width;
  public final int height;
  private final OverlaySpec spec;

  /** The library leaves out an overlay that is larger than the picture, so a larger one is shrunk, aspect kept. */
  public OverlayPlacement(OverlaySpec spec, int imageWidth, int imageHeight, int frameWidth, int frameHeight) {
    this.spec = spec;
    double aspect = (double) imageWidth / imageHeight;
    double w = spec.width() > 0 ? spec.width() : spec.height() > 0 ? spec.height() * aspect : imageWidth;
    double h = spec.height() > 0 ? spec.height() : spec.width() > 0 ? spec.width() / aspect : imageHeight;
    double shrink = Math.min(1, Math.min(frameWidth / w, frameHeight / h));
    this.width = (int) Math.max(1, Math.floor(w * shrink));
    this.height = (int) Math.max(1, Math.floor(h * shrink));
  }

  /** The rectangle that gets covered, cut to the picture. */
  public Rectangle areaOn(int frameWidth, int frameHeight) {
    Orientation.Area area = area(frameWidth, frameHeight);
    return new Rectangle(area.x(), area.y(), area.width(), area.height())
        .intersection(new Rectangle(0, 0, frameWidth, frameHeight));
  }

  /** The overlay's whole rectangle, which may reach beyond the picture. */
  Orientation.Area area(int frameWidth, int frameHeight) {
    int x = start(spec.align().column(), spec.x(), width, frameWidth);
    int y = start(spec.align().row(), spec.y(), height, frameHeight);
    return new Orientation.Area(x, y, width, height);
  }

  private static int start(int side, int offset, int size, int room) {
    return switch (side) {
      case 0 -> offset;
      case 1 -> room / 2 - size / 2 + offset;
      default -> room - size - offset;
    };
  }
}
