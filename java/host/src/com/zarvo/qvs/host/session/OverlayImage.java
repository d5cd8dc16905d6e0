package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.Align;
import com.zarvo.qvs.host.model.Device;
import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.Orientation;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.awt.image.BufferedImage;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import javax.imageio.ImageIO;

/** An image file in the form in which the native side takes overlays. */
final class OverlayImage {
  static final long FOURCC_BGRA = 0x41524742L;

  private final BufferedImage image;

  private OverlayImage(BufferedImage image) {
    this.image = image;
  }

  static OverlayImage load(Path path) throws HostException {
    if (!Files.isReadable(path) || Files.isDirectory(path)) throw new HostException(path + ": cannot be read");
    BufferedImage image;
    try {
      image = ImageIO.read(path.toFile());
    } catch (IOException | RuntimeException e) {
      throw new HostException(path + ": damaged image");
    }
    if (image == null) throw new HostException(path + ": is no image that can be read (PNG is)");
    return new OverlayImage(image);
  }

  /** A picture that is in memory already; later changes to it don't show. */
  static OverlayImage of(BufferedImage image) {
    return new OverlayImage(image);
  }

  int width() {
    return image.getWidth();
  }

  int height() {
    return image.getHeight();
  }

  /** The native record of this image at a place on pictures of the given size, which lie on `device`. */
  TranscoderNativeVideoFrame placed(OverlaySpec spec, int frameWidth, int frameHeight, Device device) {
    OverlayPlacement placement = new OverlayPlacement(spec, width(), height(), frameWidth, frameHeight);
    TranscoderNativeVideoFrame frame = frame();
    frame.dstX = spec.x();
    frame.dstY = spec.y();
    frame.dstWidth = placement.width;
    frame.dstHeight = placement.height;
    frame.dstAlign = spec.align().bits;
    if (device.isSoftware()) return frame;
    // Cards count an offset from the right or the bottom outwards.
    Orientation.Area area = placement.area(frameWidth, frameHeight);
    frame.dstX = area.x();
    frame.dstY = area.y();
    frame.dstAlign = Align.TOP_LEFT.bits;
    return frame;
  }

  /**
   * The same for pictures that are drawn on as coded and brought upright afterwards: the image is turned the other way,
   * and lies where its place on the upright picture, whose size is given, will come from.
   */
  TranscoderNativeVideoFrame placedOnCoded(
      OverlaySpec spec, int frameWidth, int frameHeight, Orientation turn, Device device) {
    if (turn.equals(Orientation.UPRIGHT)) return placed(spec, frameWidth, frameHeight, device);
    OverlayPlacement placement = new OverlayPlacement(spec, width(), height(), frameWidth, frameHeight);
    Orientation.Area area = turn.toCoded(placement.area(frameWidth, frameHeight), frameWidth, frameHeight);
    TranscoderNativeVideoFrame frame = new OverlayImage(turnedBack(turn)).frame();
    frame.dstX = area.x();
    frame.dstY = area.y();
    frame.dstWidth = area.width();
    frame.dstHeight = area.height();
    frame.dstAlign = Align.TOP_LEFT.bits;
    return frame;
  }

  private BufferedImage turnedBack(Orientation turn) {
    boolean swaps = turn.swapsSides();
    BufferedImage turned =
        new BufferedImage(swaps ? height() : width(), swaps ? width() : height(), BufferedImage.TYPE_INT_ARGB);
    for (int y = 0; y < height(); y++)
      for (int x = 0; x < width(); x++) {
        Orientation.Area to = turn.toCoded(new Orientation.Area(x, y, 1, 1), width(), height());
        turned.setRGB(to.x(), to.y(), image.getRGB(x, y));
      }
    return turned;
  }

  private TranscoderNativeVideoFrame frame() {
    TranscoderNativeVideoFrame frame = new TranscoderNativeVideoFrame();
    frame.fourcc = FOURCC_BGRA;
    frame.bytes = bgra();
    frame.stride = 4L * width();
    frame.width = width();
    frame.height = height();
    return frame;
  }

  private byte[] bgra() {
    int[] argb = image.getRGB(0, 0, width(), height(), null, 0, width());
    byte[] bytes = new byte[4 * argb.length];
    for (int i = 0; i < argb.length; i++) {
      bytes[4 * i] = (byte) argb[i];
      bytes[4 * i + 1] = (byte) (argb[i] >> 8);
      bytes[4 * i + 2] = (byte) (argb[i] >> 16);
      bytes[4 * i + 3] = (byte) (argb[i] >> 24);
    }
    return bytes;
  }
}
