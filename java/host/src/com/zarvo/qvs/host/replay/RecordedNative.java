package com.zarvo.qvs.host.replay;

import java.lang.invoke.MethodType;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Set;

/** A native as a recording names it; the method is null where this host has none like it. */
record RecordedNative(String className, String name, String signature, Method method) {
  private static final String CONTRACT = "com/zarvo/qvs/transcoder/";
  private static final String SESSIONS = CONTRACT + "model/TranscoderSessionNative";
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

  boolean takesSession() {
    return className.equals(SESSIONS) && signature.startsWith("(J") && !name.startsWith("capture") && !isOfTheProcess();
  }
}
