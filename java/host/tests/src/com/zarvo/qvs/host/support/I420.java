package com.zarvo.qvs.host.support;

import static org.junit.jupiter.api.Assertions.assertEquals;

/** Raw pictures of one size, one after the other: planes Y, U, V. */
public record I420(byte[] bytes, int width, int height) {
  public int frames() {
    return bytes.length / frameBytes();
  }

  /** Average of a plane (0 Y, 1 U, 2 V) over a rectangle given in luma pixels. */
  public double average(int frame, int plane, int x, int y, int w, int h) {
    int shift = plane == 0 ? 0 : 1;
    int stride = (width + shift) >> shift;
    int start = frame * frameBytes() + (plane > 0 ? width * height : 0) + (plane > 1 ? chromaBytes() : 0);
    long sum = 0;
    for (int row = y >> shift; row < (y + h) >> shift; row++)
      for (int column = x >> shift; column < (x + w) >> shift; column++)
        sum += bytes[start + row * stride + column] & 0xff;
    return (double) sum / ((w >> shift) * (h >> shift));
  }

  public void assertColor(String what, int frame, int x, int y, int w, int h, double... yuv) {
    for (int plane = 0; plane < 3; plane++)
      assertEquals(yuv[plane], average(frame, plane, x, y, w, h), 6, what + ", plane " + "YUV".charAt(plane));
  }

  private int chromaBytes() {
    return ((width + 1) / 2) * ((height + 1) / 2);
  }

  private int frameBytes() {
    return width * height + 2 * chromaBytes();
  }
}
