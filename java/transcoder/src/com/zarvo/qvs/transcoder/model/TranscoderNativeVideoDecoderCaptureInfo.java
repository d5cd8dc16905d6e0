package com.zarvo.qvs.transcoder.model;

/** Running figures of a decoder that reads a capture device. */
public class TranscoderNativeVideoDecoderCaptureInfo {
  /** Frames lost to a full queue. */
  public long droppedFrames;

  /** Frames since the start. */
  public long frameCountTotal;

  /** Times that the clock was aligned. */
  public long frameSyncCount;

  /** Pixels. */
  public int frameWidth;

  /** Pixels. */
  public int frameHeight;

  /** Milliseconds. */
  public long lastTimecode;

  /** Device's number of the last frame. */
  public long lastFrameIndex;

  /** Milliseconds. */
  public long lastKeyTimecode;
}
