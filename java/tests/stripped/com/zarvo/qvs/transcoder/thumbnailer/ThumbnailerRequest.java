package com.zarvo.qvs.transcoder.thumbnailer;

/** Has the first two fields. */
public class ThumbnailerRequest {
  public int codec;
  public int codecVersion;
}
