package com.zarvo.qvs.transcoder.model;

/**
 * One parameter of a stage: a key and a value of the key's type. A stage ignores keys that it doesn't know.
 */
public class TranscoderNativeParameterValue {
  /** 0 unknown key, 1 integer, 2 integers, 3 double, 4 doubles; names the field that counts. */
  public int dataType;

  /** The key. */
  public int settingIndex;

  /** Value of type 1. */
  public long lValue;

  /** Value of type 2. */
  public long[] larValue;

  /** Value of type 3. */
  public double dValue;

  /** Value of type 4. */
  public double[] darValue;
}
