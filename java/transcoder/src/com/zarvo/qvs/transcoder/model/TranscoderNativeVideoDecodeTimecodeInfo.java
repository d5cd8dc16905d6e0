package com.zarvo.qvs.transcoder.model;

/** One timecode record that came with a picture. */
public class TranscoderNativeVideoDecodeTimecodeInfo {
  /** Kind of timecode. */
  public long tcType;

  /** The packed digits as transmitted. */
  public long bcd;

  /** The user bits. */
  public long userBits;

  /** Flag bits as transmitted. */
  public long flags;

  /** Hours. */
  public long hours;

  /** Minutes. */
  public long minutes;

  /** Seconds. */
  public long seconds;

  /** Frames within the second. */
  public long frames;
}
