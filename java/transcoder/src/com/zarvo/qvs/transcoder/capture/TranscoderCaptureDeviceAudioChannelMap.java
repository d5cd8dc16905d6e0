package com.zarvo.qvs.transcoder.capture;

/** Which captured channels become the two that are delivered. */
public class TranscoderCaptureDeviceAudioChannelMap {
  /** Captured channel for the left. */
  public int left;

  /** Captured channel for the right. */
  public int right;
}
