package com.zarvo.qvs.transcoder.test;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.lang.reflect.Field;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;

class RecordTablesTest {
  private static final String[] PACKAGES = {"model", "thumbnailer", "capture"};

  private static Class<?> find(String name) {
    for (String pkg : PACKAGES) {
      try {
        return Class.forName("com.zarvo.qvs.transcoder." + pkg + "." + name);
      } catch (ClassNotFoundException e) {
        // in the next one
      }
    }
    throw new AssertionError("no class " + name);
  }

  /** A renamed field or a changed type fails here rather than in a running server. */
  @Test
  void everyFieldThatNativeCodeNamesExistsWithItsType() {
    List<String> wrong = new ArrayList<>();
    String[] rows = RecordTables.rows();
    for (String row : rows) {
      String[] parts = row.split(" ");
      try {
        Field field = find(parts[0]).getField(parts[1]);
        if (!field.getType().descriptorString().equals(parts[2])) wrong.add(row + " is " + field.getType());
      } catch (NoSuchFieldException e) {
        wrong.add(row + " is missing");
      }
    }
    assertEquals(List.of(), wrong);
    assertTrue(rows.length > 100, "tables went missing");
  }

  @Test
  void partsOfArraysAreBoundedIn64Bits() {
    byte[] ten = new byte[10];
    assertTrue(RecordTables.within(ten, 0, 10) && RecordTables.within(ten, 10, 0) && RecordTables.within(null, 0, 0));
    long[][] outside = {
      {0, 11}, {1, 10}, {11, 0}, {-1, 1}, {0, -1}, {-5, 10}, {Long.MAX_VALUE, 1}, {1, Long.MAX_VALUE},
      {Integer.MAX_VALUE, Integer.MAX_VALUE}, {1L << 32, 0}, {0, 1L << 32}, {Long.MIN_VALUE, Long.MIN_VALUE}
    };
    for (long[] part : outside) {
      assertTrue(!RecordTables.within(ten, part[0], part[1]), () -> part[0] + " + " + part[1]);
    }
    assertTrue(!RecordTables.within(null, 0, 1));
  }

  @Test
  void nativeAllocatorWritesIntoJavaArrays() {
    byte[] array = RecordTables.allocated(300);
    assertEquals(300, array.length);
    for (int i = 0; i < 300; ++i) assertEquals((byte) i, array[i]);
    assertEquals(0, RecordTables.allocated(0).length);
    assertNull(RecordTables.allocated(1L << 31), "longer than a Java array");
    assertNull(RecordTables.allocated(Integer.MAX_VALUE), "more than the heap");
  }
}
