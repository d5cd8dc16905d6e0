package com.zarvo.qvs.host.replay;

import java.lang.reflect.Field;
import java.lang.reflect.Modifier;
import java.util.List;

/** A Java class as a recording describes it. */
record RecordedClass(Kind kind, String name, List<Part> parts) {
  private static final String CONTRACT = "com.zarvo.qvs.transcoder.";

  /** By their numbers in the file. */
  enum Kind {
    NONE,
    STRING,
    BYTES,
    INTS,
    LONGS,
    DOUBLES,
    OBJECTS,
    LIST,
    BUFFER,
    RECORD
  }

  /** A field of a record. */
  record Part(String name, String signature) {}

  /**
   * The class that stands for it here: its own where it is one of the contract's, else `declared`, which may be null. No
   * other is ever loaded by a name out of a file.
   */
  Class<?> here(Class<?> declared) {
    String plain = kind == Kind.OBJECTS ? name.replaceAll("^\\[L|;$", "") : name;
    Class<?> fallback = declared != null && kind == Kind.OBJECTS ? declared.getComponentType() : declared;
    if (!plain.startsWith(CONTRACT)) return fallback;
    try {
      return Class.forName(plain, false, RecordedClass.class.getClassLoader());
    } catch (ClassNotFoundException e) {
      return fallback;
    }
  }

  /** The field of that name in a class of this host, null where it has none that may be written. */
  static Field field(Class<?> owner, String name) {
    for (Class<?> at = owner; at != null && at != Object.class; at = at.getSuperclass()) {
      try {
        Field field = at.getDeclaredField(name);
        boolean isOurs = !Modifier.isStatic(field.getModifiers()) && !Modifier.isFinal(field.getModifiers());
        return isOurs && field.trySetAccessible() ? field : null;
      } catch (NoSuchFieldException e) {
        // Perhaps the class above has it.
      }
    }
    return null;
  }
}
