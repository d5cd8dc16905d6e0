package com.zarvo.qvs.transcoder.test;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;

import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import com.zarvo.qvs.transcoder.model.TranscoderVideoU30MXBean;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Set;
import java.util.TreeMap;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;

/** Every native is there, and takes handle 0 and null objects. */
class HandleZeroTest {
  /** Natives that answer 0 where all others answer -1. */
  private static final Set<String> ZERO =
      Set.of(
          "nativeInitialize", "nativeShutdown", "setNativeLibPath", "getHardwareInfoJSON", "initInstance",
          "destroyInstance", "videoDecoderBufferGetVideoFrame", "videoDecoderBufferSetOverlayVideoFrame",
          "videoDecoderSetParameterValues", "videoDecoderGetParameterValues", "videoEncoderBufferAdd",
          "videoEncoderBufferGetVideoFrame", "videoEncoderBufferSetOverlayVideoFrame", "videoEncoderBufferSetCrop",
          "videoEncoderBufferSetSourceRect", "videoEncoderBufferSetPadding", "videoEncoderBufferSetDestinationRect",
          "videoEncoderSetParameterValues", "videoEncoderGetParameterValues", "videoEncoderPreprocessFrame",
          "audioDecoderSetParameterValues", "audioDecoderGetParameterValues", "audioEncoderSetParameterValues",
          "audioEncoderGetParameterValues", "thumbnailerGetVideoFrame", "cuPoolRelinquish");

  @BeforeAll
  static void start() {
    Library.start();
  }

  static Object nothing(Class<?> type) {
    if (type == long.class) return 0L;
    if (type == double.class) return 0.0;
    if (type == boolean.class) return false;
    return null;
  }

  static long call(Method method) throws ReflectiveOperationException {
    Class<?>[] types = method.getParameterTypes();
    Object[] arguments = new Object[types.length];
    for (int i = 0; i < types.length; ++i) arguments[i] = nothing(types[i]);
    return (Long) method.invoke(null, arguments);
  }

  @Test
  void everyNativeAnswersHandleZero() throws ReflectiveOperationException {
    Library.logs(0);
    TreeMap<String, Long> expected = new TreeMap<>();
    TreeMap<String, Long> actual = new TreeMap<>();
    for (Class<?> cls : new Class<?>[] {TranscoderSessionNative.class, TranscoderVideoU30MXBean.class}) {
      for (Method method : cls.getDeclaredMethods()) {
        if (!Modifier.isNative(method.getModifiers())) continue;
        if (method.getName().equals("createInstance") || method.getName().equals("getLogStatements")) continue;
        if (method.getName().startsWith("capture")) continue; // CaptureTest: the manager's state is the process's
        expected.put(method.getName(), ZERO.contains(method.getName()) ? 0L : -1L);
        actual.put(method.getName(), call(method));
      }
    }
    assertEquals(expected, actual);
  }

  @Test
  void bothFormsOfCreateInstanceGiveALiveSession() {
    long plain = TranscoderSessionNative.createInstance();
    long named = TranscoderSessionNative.createInstance(null);
    assertNotEquals(0, plain);
    assertNotEquals(0, named);
    assertNotEquals(plain, named);
    assertEquals(0, TranscoderSessionNative.destroyInstance(plain));
    assertEquals(0, TranscoderSessionNative.destroyInstance(named));
  }
}
