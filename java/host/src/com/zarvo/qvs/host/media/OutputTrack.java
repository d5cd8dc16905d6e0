package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.model.VideoCodec;

/** What a container is told of one stream that it is to hold. */
public sealed interface OutputTrack {
  /** As libavcodec names it. */
  String codecName();

  /** The codec's configuration as containers keep it; may be empty. */
  byte[] config();

  default boolean isHevc() {
    return codecName().equals(VideoCodec.H265.codecName);
  }

  /** Unit of the times of this stream's packets. */
  Rational timeBase();

  /**
   * Pictures.
   *
   * @param frameRate 0/1 when unknown
   * @param pixelAspect width against height of one pixel, 0/1 when unknown
   * @param display how the pictures are to be shown; lost where a container has no place for it
   */
  record Video(
      String codecName,
      byte[] config,
      Rational timeBase,
      int width,
      int height,
      Rational frameRate,
      Rational pixelAspect,
      Colors colors,
      DisplayMatrix display)
      implements OutputTrack {

    /** Square pixels in the usual colours. */
    Video(String codecName, byte[] config, Rational timeBase, int width, int height, Rational frameRate) {
      this(
          codecName, config, timeBase, width, height, frameRate, new Rational(0, 1), Colors.usual(height),
          DisplayMatrix.AS_CODED);
    }

    /** The same once its configuration is known. */
    Video withConfig(byte[] known) {
      return new Video(codecName, known, timeBase, width, height, frameRate, pixelAspect, colors, display);
    }

    /** True where containers want a configuration that only the first coded picture tells. */
    boolean lacksConfig() {
      return config.length == 0 && (isHevc() || codecName.equals(VideoCodec.H264.codecName));
    }
  }

  /**
   * Sound.
   *
   * @param frameSamples samples of a packet where all have as many, else 0
   * @param delaySamples samples at the start that the codec's delay makes: players drop them
   */
  record Audio(
      String codecName,
      byte[] config,
      Rational timeBase,
      int sampleRate,
      int channels,
      int frameSamples,
      int delaySamples)
      implements OutputTrack {}
}
