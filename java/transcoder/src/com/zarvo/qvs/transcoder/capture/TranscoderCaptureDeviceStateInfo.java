package com.zarvo.qvs.transcoder.capture;

/** The state that a device is asked to take. */
public class TranscoderCaptureDeviceStateInfo {
  /** 1 run; clear to stop. */
  public long state;

  /** Answer: 0 done, 2 already running, 3 already stopped, 8 inactive. */
  public int status;
}
