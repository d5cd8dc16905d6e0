package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.HostException;

/** The card on which a session works did not do its part: nothing that lies there can be trusted. */
final class DeviceFailure extends HostException {
  private static final long serialVersionUID = 1;

  private final transient EncoderFault fault;

  DeviceFailure(EncoderFault fault, String why) {
    super(why);
    this.fault = fault;
  }

  EncoderFault fault() {
    return fault;
  }
}
