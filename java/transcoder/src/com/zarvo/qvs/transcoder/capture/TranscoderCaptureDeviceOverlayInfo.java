package com.zarvo.qvs.transcoder.capture;

/** Overlay that a broadcast service announces. */
public class TranscoderCaptureDeviceOverlayInfo {
  /** The overlay is on. */
  public boolean showing;

  /** Address of its content. */
  public String url;

  /** Broadcast id. */
  public String broadcastId;

  /** Service id. */
  public String serviceId;

  /** Free text. */
  public String serviceExtraData;
}
