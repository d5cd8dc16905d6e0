package com.zarvo.qvs.transcoder.model;

/** Lacks "frameType" and all that only off-line work wants. */
public class TranscoderPacket {
  public byte[] buffer;
  public long len;
  public int type;
  public long timecode;
  public int timecodeOffset;
}
