package com.zarvo.qvs.transcoder.test;

/** What the test library shows of the native boundary's inside. */
final class RecordTables {
  static {
    System.load(System.getProperty("qvs.testLibrary"));
  }

  private RecordTables() {}

  /** Rows "class field signature" of every Java record that native code touches. */
  static native String[] rows();

  /** Whether the native bounds check takes this part of the array. */
  static native boolean within(byte[] array, long offset, long len);

  /** An array made by the native allocator of Java arrays, bytes counted up from 0; null where memory failed. */
  static native byte[] allocated(long size);
}
