package com.zarvo.qvs.transcoder.model;

/** Lacks "frameRate" and the lists. */
public class TranscoderNativeVideoDecodeFrameInfo {
  public long frameWidth = 77;
  public long frameHeight = 77;
  public long displayWidth = 77;
  public long displayHeight = 77;
  public long frameCount = 77;
}
