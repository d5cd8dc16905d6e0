package com.zarvo.qvs.host;

import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import java.util.ArrayList;
import java.util.List;

/** A list of whole-number settings by key, in the form that the native side takes. */
final class NativeParameters {
  private static final int TYPE_LONG = 1;

  private final List<TranscoderNativeParameterValue> values = new ArrayList<>();

  NativeParameters set(int key, long value) {
    TranscoderNativeParameterValue parameter = new TranscoderNativeParameterValue();
    parameter.dataType = TYPE_LONG;
    parameter.settingIndex = key;
    parameter.lValue = value;
    values.add(parameter);
    return this;
  }

  TranscoderNativeParameterValue[] toArray() {
    return values.toArray(new TranscoderNativeParameterValue[0]);
  }
}
