package com.zarvo.qvs.transcoder.model;

/** Lacks "timecode", which an overlay has no use for, and "dstAlign", which it can do without. */
public class TranscoderNativeVideoFrame {
  public long fourcc;
  public byte[] bytes;
  public long stride;
  public long frameStartOffset;
  public int width;
  public int height;
  public int dstX;
  public int dstY;
  public int dstWidth;
  public int dstHeight;
}
