package com.zarvo.qvs.transcoder.capture;

/** The video inputs of a device. */
public class TranscoderCaptureDeviceVideoCaptureInput {
  /** Input ids. */
  public int[] input;

  /** Ids used. */
  public int inputCount;

  /** Id in use, -1 for none. */
  public int inputSelected;
}
