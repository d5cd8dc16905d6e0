package com.zarvo.qvs.host.replay;

import com.zarvo.qvs.host.model.HostException;

/** A recording that can't be read, or not on this host. */
public final class RecordingException extends HostException {
  private static final long serialVersionUID = 1;

  RecordingException(String message) {
    super(message);
  }
}
