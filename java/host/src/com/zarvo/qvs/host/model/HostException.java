package com.zarvo.qvs.host.model;

/** What the user asked for cannot be done. The message is one line that says why. */
public class HostException extends Exception {
  private static final long serialVersionUID = 1L;

  private final long number;
  private final String logLine;

  public HostException(String message) {
    this(message, 0, "");
  }

  /** Of a native call that was answered with a number other than 0, of which the log says so much. */
  public HostException(String message, long number, String logLine) {
    super(message);
    this.number = number;
    this.logLine = logLine;
  }

  /** What the native call gave back; 0 where there was none. */
  public long number() {
    return number;
  }

  /** The session's own words, "" where it has none. */
  public String logLine() {
    return logLine;
  }
}
