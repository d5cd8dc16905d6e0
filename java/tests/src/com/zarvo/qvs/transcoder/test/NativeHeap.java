package com.zarvo.qvs.transcoder.test;

/** Memory that native code holds from malloc, in this whole process. */
final class NativeHeap {
  static {
    System.load(System.getProperty("qvs.testLibrary"));
  }

  private NativeHeap() {}

  static native long bytesInUse();
}
