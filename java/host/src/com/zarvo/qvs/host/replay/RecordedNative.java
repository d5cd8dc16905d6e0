package com.zarvo.qvs.host.replay;

import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import java.lang.invoke.MethodType;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Arrays;
import java.util.Set;

/** A native as a recording names it; the method is null where this host has none like it. */
record RecordedNative(String className, String name, String signature, Method method) {
  private static final String CONTRACT = "com/zarvo/qvs/transcoder/";
  private static final String SESSIONS = CONTRACT + "model/TranscoderSessionNative";
  /** Of the H.264 encoder: pictures that wait for it. */
  private static final int ASYNCHRONOUS_DEPTH = 10203;
  /** What the process did once, and a replay does in its own way before it begins. */
  private static final Set<String> OF_THE_PROCESS = Set.of("nativeInitialize", "nativeShutdown", "setNativeLibPath");
  /** What answers with the state of the machine, or of a log that all threads write to. */
  private static final Set<String> OF_THE_MACHINE = Set.of("getHardwareInfoJSON", "getLogStatements", "videoDecoderGetCaptureInfo");

  static RecordedNative of(String className, String name, String signature) {
    return new RecordedNative(className, name, signature, find(className, name, signature));
  }

  private static Method find(String className, String name, String signature) {
    if (!className.startsWith(CONTRACT)) return null;
    try {
      for (Method method : Class.forName(className.replace('/', '.'), false, RecordedNative.class.getClassLoader()).getDeclaredMethods()) {
        boolean isNative = Modifier.isNative(method.getModifiers()) && Modifier.isStatic(method.getModifiers());
        MethodType type = MethodType.methodType(method.getReturnType(), method.getParameterTypes());
        if (isNative && method.getName().equals(name) && type.toMethodDescriptorString().equals(signature)) return method;
      }
    } catch (ClassNotFoundException e) {
      // Told when it is called.
    }
    return null;
  }

  boolean isOfTheProcess() {
    return OF_THE_PROCESS.contains(name);
  }

  boolean isCompared() {
    return className.equals(SESSIONS) && !name.startsWith("capture") && !OF_THE_MACHINE.contains(name);
  }

  boolean creates() {
    return name.equals("createInstance");
  }

  /** Reads what a device gives at its own time: from then on no two runs are alike. */
  boolean bindsDevice() {
    return name.endsWith("SetCaptureDevice");
  }

  /** From then on it is a matter of time which target picture is free, and at which call a packet comes. */
  boolean queuesPictures(Object[] arguments) {
    if (!name.equals("videoEncoderSetParameterValues") || !(arguments[2] instanceof TranscoderNativeParameterValue[] values)) return false;
    return Arrays.stream(values).anyMatch(value -> value != null && value.settingIndex == ASYNCHRONOUS_DEPTH && value.lValue > 0);
  }

  boolean takesSession() {
    return className.equals(SESSIONS) && signature.startsWith("(J") && !name.startsWith("capture") && !isOfTheProcess();
  }
}
