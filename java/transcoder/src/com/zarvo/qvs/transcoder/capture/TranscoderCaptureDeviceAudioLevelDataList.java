package com.zarvo.qvs.transcoder.capture;

/** A run of audio levels. */
public class TranscoderCaptureDeviceAudioLevelDataList {
  /** Milliseconds. */
  public long[] timecodes;

  /** Root mean squares. */
  public int[] average;

  /** Largest absolute values. */
  public int[] peak;

  /** Number of the first entry. */
  public long sampleId;
}
