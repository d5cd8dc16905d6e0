package com.zarvo.qvs.transcoder.thumbnailer;

import java.nio.ByteBuffer;

/** The still picture; without one the buffer stays null. */
public class ThumbnailerResponse {
  /** The request's. */
  public int format;

  /** Pixels. */
  public int width;

  /** Pixels. */
  public int height;

  /** B, G, R, A rows without padding. */
  public ByteBuffer pictureData;
}
