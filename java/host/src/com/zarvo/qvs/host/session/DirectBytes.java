package com.zarvo.qvs.host.session;

import java.lang.reflect.Field;
import java.lang.reflect.Method;
import java.nio.ByteBuffer;

/**
 * Memory outside of the heap that is given back when its owner says so. The collector alone would let that of many
 * pictures pile up: it sees only their small handles.
 */
public final class DirectBytes implements AutoCloseable {
  private static final int STEP = 1 << 16;
  private static final Cleaner CLEANER = new Cleaner();

  private ByteBuffer bytes = ByteBuffer.allocateDirect(0);

  /** At least as many bytes, with what they held before. Good until the next call. */
  ByteBuffer of(int size) {
    if (bytes.capacity() < size) {
      close();
      bytes = ByteBuffer.allocateDirect(Math.addExact(size, STEP));
    }
    return bytes;
  }

  /** Gives a direct buffer's memory back at once; nobody may touch it any more. Not for parts of buffers. */
  public static void free(ByteBuffer buffer) {
    if (buffer != null && buffer.capacity() > 0) CLEANER.clean(buffer);
  }

  @Override
  public void close() {
    free(bytes);
    bytes = ByteBuffer.allocateDirect(0);
  }

  /** The one way that the platform has; where it is not open to us, the collector does it in its time. */
  private static final class Cleaner {
    private Object unsafe;
    private Method method;

    Cleaner() {
      try {
        Class<?> type = Class.forName("sun.misc.Unsafe");
        Field instance = type.getDeclaredField("theUnsafe");
        instance.setAccessible(true);
        unsafe = instance.get(null);
        method = type.getMethod("invokeCleaner", ByteBuffer.class);
      } catch (ReflectiveOperationException | RuntimeException e) {
        method = null;
      }
    }

    void clean(ByteBuffer buffer) {
      if (method == null) return;
      try {
        method.invoke(unsafe, buffer);
      } catch (ReflectiveOperationException e) {
        method = null;
      }
    }
  }
}
