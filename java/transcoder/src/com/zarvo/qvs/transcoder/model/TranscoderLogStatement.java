package com.zarvo.qvs.transcoder.model;

/** One line of the library's log. The token {@code {context}} in it stands for the stream's name. */
public class TranscoderLogStatement {
  /** 1 debug, 2 info, 3 warn, 4 error, 5 fatal. */
  public int level;

  /**
   * Stage: 0 none, 1 video decoder, 2 video encoder, 3 audio decoder, 4 audio encoder, 6 off-line, 8 scaler,
   * -1 process-wide.
   */
  public int contextType;

  /** Number of the encoder, else 0. */
  public int contextIndex;

  /** The text. */
  public String statement;
}
