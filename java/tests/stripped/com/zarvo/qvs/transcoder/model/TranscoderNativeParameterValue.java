package com.zarvo.qvs.transcoder.model;

/** Lacks "darValue". */
public class TranscoderNativeParameterValue {
  public int dataType;
  public int settingIndex;
  public long lValue;
  public long[] larValue;
  public double dValue;
}
