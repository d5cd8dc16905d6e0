package com.zarvo.qvs.transcoder.model;

/** One number out of, or in and out of, a native call. */
public class TranscoderNativeLong {
  /** The number. */
  public long value;
}
