package com.zarvo.qvs.transcoder.model;

/** Lacks "contextIndex"; "level" has another type. */
public class TranscoderLogStatement {
  public long level = 77;
  public int contextType = 77;
  public String statement;
}
