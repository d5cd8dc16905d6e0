package com.zarvo.qvs.transcoder.capture;

/** One video mode of a capture device. */
public class TranscoderCaptureDeviceRenditionInfo {
  /** Position in the device. */
  public int index;

  /** Id of the mode. */
  public int id;

  /** Shown name. */
  public String name;

  /** Flag bits. */
  public long flags;

  /** Pixels. */
  public int videoFrameWidth;

  /** Pixels. */
  public int videoFrameHeight;

  /** Frames per second. */
  public double videoFrameRate;

  /** Numerator of the rate. */
  public int videoFrameRateEnum;

  /** Denominator of the rate. */
  public int videoFrameRateDen;

  /** Colour space id. */
  public int videoColorSpace;

  /** Progressive picture. */
  public boolean videoProgressive;

  /** Top field first. */
  public boolean videoTopFieldFirst;

  /** Two views. */
  public boolean video3D;
}
