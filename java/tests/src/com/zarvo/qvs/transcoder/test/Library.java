package com.zarvo.qvs.transcoder.test;

import com.zarvo.qvs.transcoder.model.TranscoderLogStatement;
import com.zarvo.qvs.transcoder.model.TranscoderSessionNative;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** The library under test, loaded and started once. */
final class Library {
  static final long FAILED = 0xFFFFFFFFL;
  static final long KEY_FRAME = 1;
  static final long VPX = 8;
  static final long VP8 = 8;

  private static boolean started;

  private Library() {}

  static synchronized void start() {
    if (started) return;
    Path library = Path.of(System.getProperty("qvs.library"));
    TranscoderSessionNative.load(library);
    TranscoderSessionNative.setNativeLibPath(0, library.getParent().toString());
    if (TranscoderSessionNative.nativeInitialize() != 0) throw new IllegalStateException("nativeInitialize");
    started = true;
  }

  static long fourcc(String name) {
    return name.charAt(0) | name.charAt(1) << 8 | name.charAt(2) << 16 | (long) name.charAt(3) << 24;
  }

  static List<TranscoderLogStatement> logs(long handle) {
    List<TranscoderLogStatement> statements = new ArrayList<>();
    if (TranscoderSessionNative.getLogStatements(handle, statements) != 0) throw new IllegalStateException("logs");
    return statements;
  }

  /** A session that went through createInstance and initInstance. */
  static long openSession() {
    start();
    long handle = TranscoderSessionNative.createInstance();
    TranscoderSessionNative.initInstance(handle);
    return handle;
  }
}
