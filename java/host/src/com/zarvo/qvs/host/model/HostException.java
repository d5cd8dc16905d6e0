package com.zarvo.qvs.host.model;

/** What the user asked for cannot be done. The message is one line that says why. */
public class HostException extends Exception {
  private static final long serialVersionUID = 1L;

  public HostException(String message) {
    super(message);
  }
}
