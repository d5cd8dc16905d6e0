package com.zarvo.qvs.transcoder.capture;

/** Audio level of one captured channel. */
public class TranscoderCaptureDeviceAudioLevelDataAllChannel {
  /** Milliseconds. */
  public long timecode;

  /** Root mean square. */
  public int average;

  /** Largest absolute value. */
  public int peak;
}
