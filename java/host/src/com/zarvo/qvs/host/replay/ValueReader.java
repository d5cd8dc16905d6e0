package com.zarvo.qvs.host.replay;

import java.lang.reflect.Array;
import java.lang.reflect.Field;
import java.nio.BufferUnderflowException;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/** Makes Java objects of what a frame says. Its counts are checked against what is left of the frame. */
final class ValueReader {
  /** In the place of what is as it went in, and of what could not be read. */
  static final Object SAME = new Object();
  static final Object UNREAD = new Object();

  private static final int NULL = 0;
  private static final int SAME_NUMBER = 0xFFFF;
  private static final int UNREAD_NUMBER = 0xFFFE;
  private static final int DEEPEST = 8;

  private final Map<Integer, RecordedClass> classes = new HashMap<>();

  void define(ByteBuffer frame) throws RecordingException {
    int number = Short.toUnsignedInt(frame.getShort());
    int kind = frame.get();
    if (kind <= 0 || kind >= RecordedClass.Kind.values().length) throw new RecordingException("a class of an unknown kind");
    String name = text(frame);
    List<RecordedClass.Part> parts = new ArrayList<>();
    for (int left = Short.toUnsignedInt(frame.getShort()); left > 0; left--)
      parts.add(new RecordedClass.Part(text(frame), text(frame)));
    classes.put(number, new RecordedClass(RecordedClass.Kind.values()[kind], name, parts));
  }

  static String text(ByteBuffer frame) throws RecordingException {
    byte[] bytes = new byte[count(frame, 1)];
    frame.get(bytes);
    return new String(bytes, StandardCharsets.UTF_8);
  }

  private static int count(ByteBuffer frame, int bytesEach) throws RecordingException {
    int count = frame.getInt();
    if (count < 0 || (long) count * bytesEach > frame.remaining())
      throw new RecordingException("a frame says that it holds more than it has");
    return count;
  }

  /** A value of a parameter or field of that type. */
  Object read(ByteBuffer frame, Class<?> declared) throws RecordingException {
    try {
      return read(frame, declared, 0);
    } catch (BufferUnderflowException e) {
      throw new RecordingException("a frame ends within a value");
    }
  }

  private Object read(ByteBuffer frame, Class<?> declared, int depth) throws RecordingException {
    if (declared == long.class) return frame.getLong();
    if (declared == int.class) return frame.getInt();
    if (declared == double.class) return frame.getDouble();
    if (declared == boolean.class) return frame.get() != 0;
    int number = Short.toUnsignedInt(frame.getShort());
    if (number == NULL) return null;
    if (number == SAME_NUMBER) return SAME;
    if (number == UNREAD_NUMBER) return UNREAD;
    RecordedClass described = classes.get(number);
    if (described == null || depth > DEEPEST) throw new RecordingException("a frame names a class that it does not describe");
    return switch (described.kind()) {
      case STRING -> string(frame);
      case BYTES -> numbers(frame, byte.class, 1);
      case INTS -> numbers(frame, int.class, Integer.BYTES);
      case LONGS -> numbers(frame, long.class, Long.BYTES);
      case DOUBLES -> numbers(frame, double.class, Double.BYTES);
      case OBJECTS -> array(frame, described.here(declared), depth);
      case LIST -> list(frame, depth);
      case BUFFER -> buffer(frame);
      default -> record(frame, described, declared, depth);
    };
  }

  private static String string(ByteBuffer frame) throws RecordingException {
    byte[] bytes = new byte[count(frame, Character.BYTES) * Character.BYTES];
    frame.get(bytes);
    return new String(bytes, StandardCharsets.UTF_16LE);
  }

  private static Object numbers(ByteBuffer frame, Class<?> type, int bytesEach) throws RecordingException {
    int count = count(frame, bytesEach);
    Object array = Array.newInstance(type, count);
    if (array instanceof byte[] bytes) frame.get(bytes);
    if (array instanceof int[] ints) frame.asIntBuffer().get(ints);
    if (array instanceof long[] longs) frame.asLongBuffer().get(longs);
    if (array instanceof double[] doubles) frame.asDoubleBuffer().get(doubles);
    if (bytesEach > 1) frame.position(frame.position() + count * bytesEach);
    return array;
  }

  private Object array(ByteBuffer frame, Class<?> component, int depth) throws RecordingException {
    int count = count(frame, Short.BYTES);
    Object array = Array.newInstance(component == null ? Object.class : component, count);
    for (int i = 0; i < count; i++) {
      Object item = read(frame, component == null ? Object.class : component, depth + 1);
      if (array.getClass().getComponentType().isInstance(item)) Array.set(array, i, item);
    }
    return array;
  }

  private List<Object> list(ByteBuffer frame, int depth) throws RecordingException {
    List<Object> list = new ArrayList<>();
    for (int left = count(frame, Short.BYTES); left > 0; left--) list.add(read(frame, null, depth + 1));
    return list;
  }

  private static Object buffer(ByteBuffer frame) throws RecordingException {
    int position = frame.getInt();
    int limit = frame.getInt();
    long capacity = frame.getLong();
    if (capacity > frame.remaining()) throw new RecordingException("a frame says that it holds more than it has");
    // Not a direct one: the natives did not see its bytes either.
    if (capacity < 0) return ByteBuffer.allocate(0);
    ByteBuffer direct = ByteBuffer.allocateDirect((int) capacity);
    direct.put(frame.slice(frame.position(), (int) capacity)).rewind();
    frame.position(frame.position() + (int) capacity);
    if (position >= 0 && position <= limit && limit <= capacity) direct.limit(limit).position(position);
    return direct;
  }

  private Object record(ByteBuffer frame, RecordedClass described, Class<?> declared, int depth) throws RecordingException {
    Class<?> cls = described.here(declared);
    Object made = make(cls);
    for (RecordedClass.Part part : described.parts()) {
      Field field = made == null ? null : RecordedClass.field(cls, part.name());
      Object value = read(frame, typeOf(part, field), depth + 1);
      if (field != null) set(field, made, value);
    }
    return made == null ? UNREAD : made;
  }

  private static Class<?> typeOf(RecordedClass.Part part, Field field) {
    return switch (part.signature()) {
      case "J" -> long.class;
      case "I" -> int.class;
      case "D" -> double.class;
      case "Z" -> boolean.class;
      default -> field == null || field.getType().isPrimitive() ? Object.class : field.getType();
    };
  }

  private static Object make(Class<?> cls) {
    if (cls == null || cls.isInterface() || cls.isPrimitive()) return null;
    try {
      return cls.getConstructor().newInstance();
    } catch (ReflectiveOperationException e) {
      return null;
    }
  }

  // What does not fit the field of this host's class is left as it is there.
  private static void set(Field field, Object owner, Object value) {
    try {
      if (value != UNREAD && value != SAME) field.set(owner, value);
    } catch (IllegalAccessException | IllegalArgumentException e) {
      // As above.
    }
  }
}
