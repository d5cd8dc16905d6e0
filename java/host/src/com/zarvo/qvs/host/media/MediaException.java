package com.zarvo.qvs.host.media;

import java.io.IOException;

/** A container could not be read or written. The message is one line for the user. */
public final class MediaException extends IOException {
  private static final long serialVersionUID = 1L;

  public MediaException(String message) {
    super(message);
  }
}
