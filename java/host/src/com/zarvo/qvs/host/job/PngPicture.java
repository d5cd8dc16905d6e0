package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.WholeFile;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoFrame;
import java.awt.image.BufferedImage;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.nio.file.Path;
import javax.imageio.ImageIO;
import javax.imageio.stream.MemoryCacheImageOutputStream;

/** Native pictures as images, images as files. */
public final class PngPicture {
  private PngPicture() {}

  /** A picture of BGRA bytes. */
  public static BufferedImage of(TranscoderNativeVideoFrame frame) {
    int width = frame.width;
    int height = frame.height;
    BufferedImage image = new BufferedImage(width, height, BufferedImage.TYPE_INT_RGB);
    int[] row = new int[width];
    for (int y = 0; y < height; y++) {
      int at = (int) (frame.frameStartOffset + y * frame.stride);
      for (int x = 0; x < width; x++, at += 4)
        row[x] =
            (frame.bytes[at] & 0xff) | (frame.bytes[at + 1] & 0xff) << 8 | (frame.bytes[at + 2] & 0xff) << 16;
      image.setRGB(0, y, width, 1, row, 0, width);
    }
    return image;
  }

  /** Writes it whole or not at all. */
  public static void write(BufferedImage image, Path file) throws IOException {
    ByteArrayOutputStream png = new ByteArrayOutputStream();
    // A cache of its own would want to be removed at the virtual machine's end, which a signal may have begun.
    try (MemoryCacheImageOutputStream out = new MemoryCacheImageOutputStream(png)) {
      ImageIO.write(image, "png", out);
    }
    try (WholeFile whole = WholeFile.create(file)) {
      whole.write(png.toByteArray());
    }
  }
}
