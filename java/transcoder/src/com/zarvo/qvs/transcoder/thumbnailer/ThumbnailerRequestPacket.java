package com.zarvo.qvs.transcoder.thumbnailer;

import java.nio.ByteBuffer;

/** One coded packet of a thumbnail request. */
public class ThumbnailerRequestPacket {
  /** A direct buffer; its whole capacity is the packet. */
  public ByteBuffer packetData;

  /** Milliseconds. */
  public long timecode;

  /** Presentation less decode time, milliseconds. */
  public long timecodeOffset;

  /** 1 key, 2 inter, 3 disposable inter. */
  public int frameType;
}
