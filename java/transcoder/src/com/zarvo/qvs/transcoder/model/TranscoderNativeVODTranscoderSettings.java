package com.zarvo.qvs.transcoder.model;

/** Target of one off-line transcode. */
public class TranscoderNativeVODTranscoderSettings {
  /** Video codec id. */
  public int videoCodec;

  /** Preferred back end. */
  public int videoImplementation;

  /** GPU number, -1 for any. */
  public int videoGPUID;

  /** Codec profile. */
  public int videoProfile;

  /** How the picture fits the size. */
  public int videoFitMode;

  /** Pixels. */
  public int videoWidth;

  /** Pixels. */
  public int videoHeight;

  /** Bits per second. */
  public int videoBitrate;

  /** Codec configuration of the source, in start-code form. */
  public byte[] videoHeader;

  /** Frames per second. */
  public double videoFrameRate;
}
