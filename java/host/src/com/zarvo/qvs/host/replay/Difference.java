package com.zarvo.qvs.host.replay;

import com.zarvo.qvs.host.bitstream.OggPages;
import java.lang.reflect.Array;
import java.lang.reflect.Field;
import java.lang.reflect.Modifier;
import java.nio.ByteBuffer;
import java.util.Arrays;
import java.util.List;

/** Where two answers part. */
final class Difference {
  private Difference() {}

  /** The first place at which `got` is not as `expected`, in words; null where there is none. */
  static String find(String where, Object expected, Object got) {
    if (expected == ValueReader.UNREAD || expected == got) return null;
    if (expected == null || got == null) return where + ": expected " + shown(expected) + ", got " + shown(got);
    if (expected instanceof ByteBuffer left && got instanceof ByteBuffer right)
      return find(where, bytes(left), bytes(right));
    if (expected instanceof List<?> left && got instanceof List<?> right) return find(where, left.toArray(), right.toArray());
    if (expected.getClass().isArray() && got.getClass().isArray()) return ofArrays(where, expected, got);
    if (expected instanceof Number || expected instanceof String || expected instanceof Boolean)
      return expected.equals(got) ? null : where + ": expected " + shown(expected) + ", got " + shown(got);
    return ofFields(where, expected, got);
  }

  private static byte[] bytes(ByteBuffer buffer) {
    byte[] bytes = new byte[buffer.capacity()];
    buffer.duplicate().clear().get(bytes);
    return bytes;
  }

  private static String ofArrays(String where, Object expected, Object got) {
    int common = Math.min(Array.getLength(expected), Array.getLength(got));
    if (expected instanceof byte[] left && got instanceof byte[] right) {
      int at = Arrays.mismatch(OggPages.comparable(left), OggPages.comparable(right));
      if (at < 0) return null;
      String lengths = " (of " + left.length + " and " + right.length + ")";
      if (at == common) return where + ": other length" + lengths;
      return String.format("%s, byte %d%s: expected %02x, got %02x", where, at, lengths, left[at], right[at]);
    }
    for (int i = 0; i < common; i++) {
      String found = find(where + "[" + i + "]", Array.get(expected, i), Array.get(got, i));
      if (found != null) return found;
    }
    if (Array.getLength(expected) == Array.getLength(got)) return null;
    return where + ": expected " + Array.getLength(expected) + " items, got " + Array.getLength(got);
  }

  private static String ofFields(String where, Object expected, Object got) {
    for (Class<?> at = expected.getClass(); at != Object.class; at = at.getSuperclass()) {
      for (Field field : at.getDeclaredFields()) {
        if (Modifier.isStatic(field.getModifiers()) || !field.trySetAccessible() || !at.isInstance(got)) continue;
        try {
          String found = find(where + "." + field.getName(), field.get(expected), field.get(got));
          if (found != null) return found;
        } catch (IllegalAccessException e) {
          throw new IllegalStateException(e);
        }
      }
    }
    return null;
  }

  /** A value in a few characters. */
  static String shown(Object value) {
    if (value == null) return "null";
    if (value instanceof String text) return "\"" + (text.length() > 40 ? text.substring(0, 40) + "..." : text) + "\"";
    if (value instanceof Number || value instanceof Boolean) return value.toString();
    if (value instanceof byte[] bytes) return bytes.length + " bytes";
    if (value instanceof ByteBuffer buffer) return buffer.capacity() + " bytes";
    if (value instanceof List<?> list) return list.size() + " items";
    if (value.getClass().isArray()) return Array.getLength(value) + " items";
    return value == ValueReader.UNREAD ? "?" : value.getClass().getSimpleName();
  }
}
