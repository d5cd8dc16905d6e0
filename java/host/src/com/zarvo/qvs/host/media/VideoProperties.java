package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Colors;
import com.zarvo.qvs.host.model.DisplayMatrix;
import com.zarvo.qvs.host.model.Rational;
import com.zarvo.qvs.host.model.VideoCodec;

/** Facts of a video stream on their way to or from the native side, which knows the fields by their names. */
final class VideoProperties {
  long width;
  long height;
  long frameRateNum;
  long frameRateDen;
  long timeBaseNum;
  long timeBaseDen;
  long durationMs;
  long pixelAspectNum;
  long pixelAspectDen;
  long bitRate;
  long primaries;
  long transfer;
  long matrix;
  long fullRange;
  long hasChroma;
  long displayA;
  long displayB;
  long displayC;
  long displayD;

  VideoProperties() {}

  VideoProperties(OutputTrack.Video track) {
    width = track.width();
    height = track.height();
    frameRateNum = track.frameRate().num();
    frameRateDen = track.frameRate().den();
    timeBaseNum = track.timeBase().num();
    timeBaseDen = track.timeBase().den();
    pixelAspectNum = track.pixelAspect().num();
    pixelAspectDen = track.pixelAspect().den();
    primaries = track.colors().primaries();
    transfer = track.colors().transfer();
    matrix = track.colors().matrix();
    fullRange = track.colors().fullRange() ? 1 : 0;
    displayA = track.display().a();
    displayB = track.display().b();
    displayC = track.display().c();
    displayD = track.display().d();
  }

  // RGB and grey that the host converts take the range that every player shows right.
  private boolean isFullRange(String codecName) {
    return fullRange != 0 && (hasChroma != 0 || VideoCodec.isKnown(codecName));
  }

  StreamInfo toInfo(String codecName, String pixelFormat) {
    return new StreamInfo(
        codecName,
        pixelFormat,
        (int) width,
        (int) height,
        new Rational((int) frameRateNum, (int) frameRateDen),
        new Rational((int) timeBaseNum, (int) timeBaseDen),
        durationMs,
        new Rational((int) pixelAspectNum, (int) pixelAspectDen),
        bitRate,
        Colors.of((int) primaries, (int) transfer, (int) matrix, isFullRange(codecName), (int) height),
        new DisplayMatrix((int) displayA, (int) displayB, (int) displayC, (int) displayD));
  }
}
