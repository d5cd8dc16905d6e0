package com.zarvo.qvs.transcoder.model;

/** A list of numbers out of a native call. */
public class TranscoderNativeIntArray {
  /** The numbers; null until a call has set them. */
  public int[] value;
}
