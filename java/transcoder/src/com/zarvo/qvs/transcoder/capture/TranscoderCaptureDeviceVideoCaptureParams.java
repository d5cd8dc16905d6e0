package com.zarvo.qvs.transcoder.capture;

/** How a device captures video. */
public class TranscoderCaptureDeviceVideoCaptureParams {
  /** Capture video. */
  public boolean enable;

  /** Non-zero: follow the input that has a signal. */
  public int autoDetectInputSource;

  /** Keep one frame in this many. */
  public int frameRateDivisor;

  /** Video mode to use, -1 to detect. */
  public int renditionIndex;

  /** 1 for 8-bit YUV, else 10-bit. */
  public int pixelFormat;

  /** Input flags of the hardware. */
  public int flags;
}
