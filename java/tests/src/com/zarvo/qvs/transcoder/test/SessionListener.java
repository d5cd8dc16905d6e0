package com.zarvo.qvs.transcoder.test;

/** A native module that registers with the library's notify manager. */
final class SessionListener {
  static {
    Library.start();
    System.load(System.getProperty("qvs.listenerLibrary"));
  }

  private SessionListener() {}

  static native void attach();

  static native void detach();

  /** Handles since the last call: as they came, negative as they went; 0 where the listener's lock was not held. */
  static native long[] events();

  static native String lastStream();
}
