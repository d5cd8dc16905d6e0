package com.zarvo.qvs.transcoder.capture;

/** How a device captures audio. */
public class TranscoderCaptureDeviceAudioCaptureParams {
  /** Capture audio. */
  public boolean enable;

  /** Samples per second. */
  public int sampleRate;

  /** Channel count. */
  public int channels;

  /** Bytes of one sample. */
  public int bytesPerSample;
}
