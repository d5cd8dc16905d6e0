package com.zarvo.qvs.host.vod;

import com.zarvo.qvs.host.model.EncoderBackend;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import com.zarvo.qvs.host.model.VideoTuning;

/**
 * The buffer of a player that gets a rendition at its constant rate, or at the highest one of a rate that varies, over
 * one chunk: how full it is at the end, and at least, for whatever it held at the start. Filling up to a limit and taking
 * out, one after the other, is the lesser of two lines in what was there first, so four numbers hold a chunk of any
 * length.
 */
final class RateBuffer {
  /**
   * How full it is to be taken for where a chunk begins that is not the first. Encoders begin at nine tenths, and spend
   * at once what is above this: that from chunk to chunk would be more than there is.
   */
  static final int USUAL_PERCENT = 45;

  private static final double ENCODERS_START = 0.9;
  private static final double SOFTWARE_SECONDS = 2.2;
  private static final double PLUGIN_SECONDS = 1;
  private static final int BITS_A_STEP = 1000;

  private final double rate;
  private final double size;
  private final double start;
  private final boolean steerable;
  private double firstSeconds = Double.NaN;
  private double lastSeconds;
  private double change;
  private double most;
  private double leastChange = Double.POSITIVE_INFINITY;
  private double leastMost = Double.POSITIVE_INFINITY;

  private RateBuffer(double rate, double size, double start, boolean steerable) {
    this.rate = rate;
    this.size = size;
    this.start = start;
    this.steerable = steerable;
    this.most = size;
  }

  /**
   * The buffer that an encoder keeps to; null where none is known.
   *
   * @param percent how full it was told to take it for, 0 for nothing
   */
  static RateBuffer of(RenditionSpec spec, EncoderBackend encoder, int percent) {
    if (spec.codec() != VideoCodec.H264 && spec.codec() != VideoCodec.H265 || encoder.hardware) return null;
    VideoTuning tuning = spec.tuning();
    double rate = whole(tuning.planned() ? tuning.peak(spec.bitRate()) : spec.bitRate());
    boolean own = encoder == EncoderBackend.SOFTWARE && spec.codec() == VideoCodec.H264;
    double usual = rate * (own ? SOFTWARE_SECONDS : PLUGIN_SECONDS);
    double size = tuning.planned() ? whole(tuning.buffer(spec.bitRate())) : usual;
    return new RateBuffer(rate, size, size * (own && percent > 0 ? percent / 100.0 : ENCODERS_START), own);
  }

  private static double whole(long bits) {
    return Math.floor((double) bits / BITS_A_STEP) * BITS_A_STEP;
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
    return new Facts(rate, size, start, steerable, firstSeconds, lastSeconds, change, most, leastChange, leastMost);
  }

  /**
   * All bits, and seconds of the source.
   *
   * @param start what the encoder took it to hold
   * @param steerable true where it can be told to take it for something else
   */
  record Facts(
      double rate, double size, double start, boolean steerable, double firstSeconds, double lastSeconds,
      double change, double most, double leastChange, double leastMost) {

    /** The least that the buffer holds on the way; below 0 it runs dry. */
    double least(double held) {
      return Math.min(held + leastChange, leastMost);
    }

    /** What it holds when the next chunk's first picture is taken out. */
    double end(double held, double nextSeconds) {
      return Math.min(size, Math.min(held + change, most) + rate * Math.max(0, nextSeconds - lastSeconds));
    }
  }
}
