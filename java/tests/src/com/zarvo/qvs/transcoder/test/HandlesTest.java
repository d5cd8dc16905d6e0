package com.zarvo.qvs.transcoder.test;

import static com.zarvo.qvs.transcoder.model.TranscoderSessionNative.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.zarvo.qvs.transcoder.model.TranscoderLogStatement;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.lang.reflect.Array;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Comparator;
import java.util.List;
import java.util.Random;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.concurrent.CopyOnWriteArrayList;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.locks.LockSupport;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;

/** Handles that name no session, or one that another thread is ending. */
class HandlesTest {
  /** Natives whose answer is always 0. */
  private static final Set<String> ALWAYS_ZERO =
      Set.of(
          "initInstance", "videoDecoderBufferSetOverlayVideoFrame", "videoEncoderBufferSetOverlayVideoFrame",
          "videoEncoderBufferSetCrop", "videoEncoderBufferSetSourceRect", "videoEncoderBufferSetPadding",
          "videoEncoderBufferSetDestinationRect");

  private static final Class<?>[] NO_TYPES = {};

  @BeforeAll
  static void start() {
    Library.start();
  }

  /** All natives whose first argument is a session. */
  static List<Method> sessionNatives() {
    return Arrays.stream(TranscoderSessionNative.class.getDeclaredMethods())
        .filter(m -> Modifier.isNative(m.getModifiers()) && m.getParameterCount() > 0)
        .filter(m -> m.getParameterTypes()[0] == long.class && !m.getName().startsWith("capture"))
        .filter(m -> !Set.of("setNativeLibPath", "videoEncoderPreprocessFrame").contains(m.getName()))
        .sorted(Comparator.comparing(Method::getName))
        .toList();
  }

  private static long call(Method method, long handle, Random random) throws ReflectiveOperationException {
    Class<?>[] types = method.getParameterTypes();
    Object[] arguments = new Object[types.length];
    arguments[0] = handle;
    for (int i = 1; i < types.length; ++i) arguments[i] = random == null ? HandleZeroTest.nothing(types[i]) : any(types[i], random);
    return (Long) method.invoke(null, arguments);
  }

  private static Object any(Class<?> type, Random random) throws ReflectiveOperationException {
    long[] numbers = {-1, 0, 1, 2, 7, 8, 10, 48, Library.fourcc("YV12")};
    if (type == long.class) return numbers[random.nextInt(numbers.length)];
    if (type == double.class) return random.nextInt(60) - 1.0;
    if (type == boolean.class) return random.nextBoolean();
    if (random.nextInt(4) == 0) return null;
    if (type == List.class) return new ArrayList<>();
    if (type.isArray()) return Array.newInstance(type.getComponentType(), random.nextInt(5));
    return type.getDeclaredConstructor(NO_TYPES).newInstance();
  }

  private static boolean told(List<TranscoderLogStatement> lines, String name) {
    // One has another name in its lines.
    String own = name.equals("vodTranscoderTranscodeFrames") ? "vodTranscodeFrames" : name;
    String line = "TranscoderSessionNative." + own + "[{context}]: No session has this handle: ";
    return lines.stream().anyMatch(l -> l.statement.startsWith(line) && l.contextType == -1);
  }

  @Test
  void everyNativeRefusesAStrayHandleWithItsNumberAndALine() throws ReflectiveOperationException {
    long live = createInstance();
    long dead = createInstance();
    destroyInstance(dead);
    for (Method method : sessionNatives()) {
      String name = method.getName();
      long expected = ALWAYS_ZERO.contains(name) ? 0 : -1;
      List<TranscoderLogStatement> lines = new ArrayList<>();
      // What has been told is told again only when it has come twice as often.
      for (int i = 0; i < 2000 && !told(lines, name); ++i) {
        for (long stray : new long[] {dead, live + 8, 1, -1, Long.MIN_VALUE}) {
          List<TranscoderLogStatement> fetched = new ArrayList<>();
          if (name.equals("getLogStatements")) {
            assertEquals(expected, getLogStatements(stray, fetched));
          } else {
            assertEquals(expected, call(method, stray, null), name);
            assertEquals(0, getLogStatements(0, fetched));
          }
          lines.addAll(fetched);
        }
      }
      assertTrue(told(lines, name), name + " has no line");
    }
    assertEquals(0, destroyInstance(live), "a stray handle harms no session");
  }

  /** One thread of many: its own session lives and dies while it calls whatever it likes. */
  private static Integer callAtRandom(long seed, List<Long> dead) throws ReflectiveOperationException {
    Random random = new Random(seed);
    List<Method> natives = sessionNatives();
    long own = createInstance();
    int answered = 0;
    for (int i = 0; i < 250; ++i) {
      int dice = random.nextInt(100);
      if (dice < 10) {
        assertEquals(0, destroyInstance(own));
        dead.add(own);
        own = createInstance();
        assertTrue(!dead.contains(own), "a dead handle came back");
        continue;
      }
      Method method = natives.get(random.nextInt(natives.size()));
      boolean stray = dice < 60 || method.getName().equals("destroyInstance");
      long handle = !stray ? own : dice % 2 == 0 && !dead.isEmpty() ? dead.get(random.nextInt(dead.size())) : random.nextLong() | 1;
      long result = call(method, handle, random);
      if (stray) assertEquals(ALWAYS_ZERO.contains(method.getName()) ? 0 : -1, result, method.getName());
      ++answered;
    }
    destroyInstance(own);
    return answered;
  }

  @Test
  void anyCallWithAnyHandleFromAnyThreadIsAnswered() throws Exception {
    List<Long> dead = new CopyOnWriteArrayList<>();
    List<Callable<Integer>> threads = new ArrayList<>();
    for (long seed = 1; seed <= 4; ++seed) {
      long own = seed;
      threads.add(() -> callAtRandom(own, dead));
    }
    ExecutorService pool = Executors.newFixedThreadPool(threads.size());
    int answered = 0;
    for (Future<Integer> result : pool.invokeAll(threads)) answered += result.get();
    pool.shutdown();
    assertTrue(answered > 800, "calls: " + answered);
  }

  @Test
  void aCallInFlightEndsBeforeItsSession() throws Exception {
    ExecutorService caller = Executors.newSingleThreadExecutor();
    for (int round = 0; round < 100; ++round) {
      long session = createInstance();
      Future<Long> calls =
          caller.submit(
              () -> {
                long served = 0;
                while (videoScalerInitialize(session) == 0) ++served;
                assertEquals(-1, videoScalerInitialize(session), "once dead, dead for good");
                return served;
              });
      LockSupport.parkNanos(round * 20_000L);
      assertEquals(0, destroyInstance(session));
      assertTrue(calls.get() >= 0);
      assertEquals(-1, destroyInstance(session));
    }
    caller.shutdown();
  }
}
