package com.zarvo.qvs.transcoder.model;

/** A picture that crosses the boundary: a frame read back, or an overlay to draw. */
public class TranscoderNativeVideoFrame {
  /** Picture format, four characters with the first in the low byte. */
  public long fourcc;

  /** The picture. */
  public byte[] bytes;

  /** Bytes from row to row. */
  public long stride;

  /** First byte of the picture in {@code bytes}. */
  public long frameStartOffset;

  /** Pixels. Before a read: the width wanted, 0 for the frame's own. */
  public int width;

  /** Pixels. Before a read: the height wanted, 0 for the frame's own. */
  public int height;

  /** Milliseconds. */
  public long timecode;

  /** Overlay: distance from the aligned edge, pixels. */
  public int dstX;

  /** Overlay: distance from the aligned edge, pixels. */
  public int dstY;

  /** Overlay: width to draw, pixels. */
  public int dstWidth;

  /** Overlay: height to draw, pixels. */
  public int dstHeight;

  /** Overlay: alignment bits. */
  public int dstAlign;
}
