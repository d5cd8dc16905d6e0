package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;

/**
 * The buffer of a player that gets a rendition at its constant rate, over one chunk: how full it is at the end, and at
 * least, for whatever it held at the start. Filling up to a limit and taking out, one after the other, is the lesser of
 * two lines in what was there first, so four numbers hold a chunk of any length.
 */
final class RateBuffer {
  /** How full encoders take it to be when they begin. */
  static final double USUAL_START = 0.9;

  private static final double SOFTWARE_SECONDS = 2.2;
  private static final double PLUGIN_SECONDS = 1;
  private static final int BITS_A_STEP = 1000;

  private final double rate;
  private final double size;
  private double firstSeconds = Double.NaN;
  private double lastSeconds;
  private double change;
  private double most;
  private double leastChange = Double.POSITIVE_INFINITY;
  private double leastMost = Double.POSITIVE_INFINITY;

  private RateBuffer(double rate, double size) {
    this.rate = rate;
    this.size = size;
    this.most = size;
  }

  /** The buffer that an encoder keeps to; null where none is known. */
  static RateBuffer of(RenditionSpec spec, EncoderBackend encoder) {
    if (spec.codec() != VideoCodec.H264 && spec.codec() != VideoCodec.H265 || encoder.hardware) return null;
    double rate = Math.floor((double) spec.bitRate() / BITS_A_STEP) * BITS_A_STEP;
    boolean own = encoder == EncoderBackend.SOFTWARE && spec.codec() == VideoCodec.H264;
    return new RateBuffer(rate, rate * (own ? SOFTWARE_SECONDS : PLUGIN_SECONDS));
  }

  /** A picture is taken out at the time of its decoding. */
  void take(double seconds, double bits) {
    if (Double.isNaN(firstSeconds)) firstSeconds = seconds;
    else fill(seconds - lastSeconds);
    lastSeconds = seconds;
    change -= bits;
    most -= bits;
    leastChange = Math.min(leastChange, change);
    leastMost = Math.min(leastMost, most);
  }

  private void fill(double seconds) {
    change += rate * seconds;
    most = Math.min(size, most + rate * seconds);
  }

  /** What is left of it for those that join chunks. */
  Facts facts() {
    return new Facts(rate, size, firstSeconds, lastSeconds, change, most, leastChange, leastMost);
  }

  /** All bits, and seconds of the source. */
  record Facts(
      double rate, double size, double firstSeconds, double lastSeconds, double change, double most,
      double leastChange, double leastMost) {

    /** The least that the buffer holds on the way; below 0 it runs dry. */
    double least(double start) {
      return Math.min(start + leastChange, leastMost);
    }

    /** What it holds when the next chunk's first picture is taken out. */
    double end(double start, double nextSeconds) {
      return Math.min(size, Math.min(start + change, most) + rate * Math.max(0, nextSeconds - lastSeconds));
    }
  }
}
