package com.zarvo.qvs.transcoder.capture;

/** Audio levels of one moment. */
public class TranscoderCaptureDeviceAudioLevelData {
  /** Milliseconds. */
  public long timecode;

  /** Root mean square. */
  public int averageLeft;

  /** Root mean square. */
  public int averageRight;

  /** Largest absolute value. */
  public int peakLeft;

  /** Largest absolute value. */
  public int peakRight;
}
