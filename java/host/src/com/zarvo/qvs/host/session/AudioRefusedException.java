package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;

/** A session could have been made but for its audio. */
public final class AudioRefusedException extends HostException {
  private static final long serialVersionUID = 1L;

  AudioRefusedException(String message) {
    super(message);
  }
}
