package com.zarvo.qvs.host.session;

import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import java.util.ArrayList;
import java.util.List;

/** A list of whole-number settings by key, in the form that the native side takes. */
final class NativeParameters {
  private static final int TYPE_LONG = 1;
  private static final int TYPE_LONGS = 2;

  private final List<TranscoderNativeParameterValue> values = new ArrayList<>();

  NativeParameters set(int key, long value) {
    add(key, TYPE_LONG).lValue = value;
    return this;
  }

  /** A setting of several numbers. */
  NativeParameters setAll(int key, long... all) {
    add(key, TYPE_LONGS).larValue = all;
    return this;
  }

  /** Settings that were listed before. */
  NativeParameters setAll(TranscoderNativeParameterValue[] listed) {
    values.addAll(List.of(listed));
    return this;
  }

  private TranscoderNativeParameterValue add(int key, int type) {
    TranscoderNativeParameterValue parameter = new TranscoderNativeParameterValue();
    parameter.dataType = type;
    parameter.settingIndex = key;
    values.add(parameter);
    return parameter;
  }

  TranscoderNativeParameterValue[] toArray() {
    return values.toArray(new TranscoderNativeParameterValue[0]);
  }
}
