package com.zarvo.qvs.transcoder.capture;

/** What captured pictures are turned into. */
public class TranscoderCaptureDeviceVideoCaptureTarget {
  /** Pixels. */
  public int width;

  /** Pixels. */
  public int height;

  /** x, y, width, height in pixels; null for none. */
  public long[] crop;

  /** 1 scale down when larger, 2 scale up when smaller, 4 exact size. */
  public long sizeFlags;

  /** Milliseconds. */
  public int keyFrameInterval;

  /** Numerator of the rate wanted. */
  public int frameRateTargetEnum;

  /** Denominator of the rate wanted. */
  public int frameRateTargetDen;

  /** 1 derive the divisor from the rate wanted, 2 use {@code frameRateDivisor}. */
  public long frameRateFlags;

  /** Keep one frame in this many. */
  public int frameRateDivisor;

  /** Radians. */
  public double frameRotation;

  /** Aspect wanted, width term. */
  public int frameCropAspectRatioWidth;

  /** Aspect wanted, height term. */
  public int frameCropAspectRatioHeight;

  /** 0 crop to the aspect, 1 stretch to it. */
  public int frameAspectRatioMethod;
}
