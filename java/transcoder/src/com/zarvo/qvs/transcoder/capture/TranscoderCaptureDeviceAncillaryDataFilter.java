package com.zarvo.qvs.transcoder.capture;

/** Which ancillary packets are kept. */
public class TranscoderCaptureDeviceAncillaryDataFilter {
  /** 0 none, 1 all, 2 the listed ones. */
  public int filterType;

  /** Data id. */
  public int did;

  /** Secondary data id, negative for any. */
  public int sid;
}
