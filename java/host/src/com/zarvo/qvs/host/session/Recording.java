package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;
import com.zarvo.qvs.host.model.NativeLibraries;
import java.nio.file.Path;

/**
 * Records every native call of this process into a file until it is closed, as QVS_RECORD does from the start on. A
 * session that was made before is not replayed: what it was set up with is not in the file.
 */
public final class Recording implements AutoCloseable {
  private Recording() {}

  /** `mebibytes` bounds the file's size, 0 takes 1024; beyond it the oldest packets give way. */
  public static Recording of(Path file, long mebibytes) throws HostException {
    NativeLibraries.loadRecorder();
    String trouble = start(file.toString(), mebibytes);
    if (trouble != null) throw new HostException("no recording: " + trouble);
    return new Recording();
  }

  private static native String start(String file, long mebibytes);

  private static native void stop();

  @Override
  public void close() {
    stop();
  }
}
