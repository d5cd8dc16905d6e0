package com.zarvo.qvs.transcoder.model;

/** One text out of a native call. */
public class TranscoderNativeString {
  /** The text; null until a call has set it. */
  public String value;
}
