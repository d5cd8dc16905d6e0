package com.zarvo.qvs.transcoder.model;

/** Has two names of eight, one of another type. */
public class TranscoderNativeStreamContext {
  public String streamName;
  public Object vhost = "";
}
