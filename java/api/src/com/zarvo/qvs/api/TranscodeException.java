package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.HostException;
import java.io.IOException;

/** Something could not be done; the message says what and, where the library told why, that. */
public final class TranscodeException extends IOException {
  private static final long serialVersionUID = 1L;

  private final long number;
  private final String logLine;

  TranscodeException(String message) {
    super(message);
    this.number = 0;
    this.logLine = "";
  }

  TranscodeException(HostException cause) {
    super(cause.getMessage(), cause);
    this.number = cause.number();
    this.logLine = cause.logLine();
  }

  /** What the native call gave back (4294967295 for most failures, -1 for calls that were refused); 0 where none was made. */
  public long number() {
    return number;
  }

  /** The log's line on it, "" where there is none. */
  public String logLine() {
    return logLine;
  }
}
