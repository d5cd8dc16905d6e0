package com.zarvo.qvs.transcoder.model;

/** One ancillary packet that came with a picture. */
public class TranscoderNativeVideoDecodeAncillaryData {
  /** Data id. */
  public int did;

  /** Secondary data id. */
  public int sid;

  /** Data block number. */
  public int dbn;

  /** Data count. */
  public int dc;

  /** Checksum as transmitted. */
  public int checksum;

  /** User data words; null when there are none. */
  public int[] buffer;
}
