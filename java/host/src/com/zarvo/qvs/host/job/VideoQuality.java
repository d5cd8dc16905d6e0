package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.media.MediaException;
import java.awt.Rectangle;
import java.nio.file.Path;

/** Measures a rendition against the file that it was made from. */
public final class VideoQuality {
  private VideoQuality() {}

  /**
   * PSNR in dB over all samples of all pictures, each against the source picture of the same time scaled to the
   * rendition's size by a bicubic filter.
   *
   * @param excluded rectangle of the source picture that does not count, may be empty
   */
  public static double psnr(Path source, Path rendition, Rectangle excluded) throws MediaException {
    try {
      return compare(
          source.toString(), rendition.toString(), excluded.x, excluded.y, excluded.width, excluded.height);
    } catch (MediaException e) {
      throw new MediaException(rendition + ": " + e.getMessage());
    }
  }

  private static native double compare(String source, String rendition, int x, int y, int width, int height)
      throws MediaException;
}
