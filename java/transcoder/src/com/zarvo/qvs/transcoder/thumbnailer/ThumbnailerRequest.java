package com.zarvo.qvs.transcoder.thumbnailer;

/**
 * A run of packets that ends at the wanted picture, and the still picture wanted of it. Decoder settings
 * below zero are left alone.
 */
public class ThumbnailerRequest {
  /** Video codec id. */
  public int codec;

  /** Version of the codec. */
  public int codecVersion;

  /** Not used. */
  public int implementation;

  /** Pixels. */
  public int width;

  /** Pixels. */
  public int height;

  /** 1 bars, 2 height follows, 3 width follows, 4 fill and cut, 6 source size, else stretch. */
  public int fitMode;

  /** left, right, top, bottom in pixels; null for none. */
  public int[] crop;

  /** Carried through to the response. */
  public int format;

  /** Deinterlace mode. */
  public int deinterlace;

  /** Not used. */
  public int gpuid;

  /** Decoder workers. */
  public int cpuNum;

  /** Decoder threading mode. */
  public int smpMode;

  /** Reduce to 8 bits. */
  public int output8Bit;

  /** Motion-vector precision. */
  public int mvPrecision;

  /** Decoded pictures kept. */
  public int dpbSize;

  /** Error concealment. */
  public int ec;

  /** Deblocking. */
  public int loopFilter;

  /** Acceleration mode. */
  public int accMode;

  /** The packets, in decode order. */
  public ThumbnailerRequestPacket[] packets;
}
