package com.zarvo.qvs.host.session;

/** In which way an encoder failed. */
public enum EncoderFault {
  /** It is not to be had on this machine, or not for this codec. */
  UNAVAILABLE("not available"),
  /** A call was answered with a failure. */
  ERROR("failed"),
  /** A call did not come back in time. */
  HANG("hung"),
  /** It took pictures and gave none back. */
  STALL("gave no pictures back"),
  /** It failed so often that this process tries it no more. */
  QUARANTINED("quarantined");

  /** What a plug-in host logs of a call that was left to its thread. */
  private static final String LEFT_ALONE = "did not return within";

  /** In words. */
  public final String text;

  EncoderFault(String text) {
    this.text = text;
  }

  /** Of a call that was answered with a failure, of which the log says so much. */
  static EncoderFault of(String why) {
    return why.contains(LEFT_ALONE) ? HANG : ERROR;
  }

  /** True where a card is to blame, and not what it was asked for. */
  boolean countsAgainstCard() {
    return this == ERROR || this == HANG || this == STALL;
  }
}
