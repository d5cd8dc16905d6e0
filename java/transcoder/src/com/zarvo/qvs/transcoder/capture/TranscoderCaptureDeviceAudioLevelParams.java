package com.zarvo.qvs.transcoder.capture;

/** How a device measures audio levels. */
public class TranscoderCaptureDeviceAudioLevelParams {
  /** Samples that make one data point. */
  public int audioLevelSamplesPerData;

  /** Data points kept. */
  public int audioLevelTotalDataPoints;
}
