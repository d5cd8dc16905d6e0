package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
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

  int width() {
    return image.getWidth();
  }

  int height() {
    return image.getHeight();
  }

  /** The native record of this image at a place on pictures of the given size. */
  TranscoderNativeVideoFrame placed(OverlaySpec spec, int frameWidth, int frameHeight) {
    OverlayPlacement placement = new OverlayPlacement(spec, width(), height(), frameWidth, frameHeight);
    TranscoderNativeVideoFrame frame = new TranscoderNativeVideoFrame();
    frame.fourcc = FOURCC_BGRA;
    frame.bytes = bgra();
    frame.stride = 4L * width();
    frame.width = width();
    frame.height = height();
    frame.dstX = spec.x();
    frame.dstY = spec.y();
    frame.dstWidth = placement.width;
    frame.dstHeight = placement.height;
    frame.dstAlign = spec.align().bits;
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
