package com.zarvo.qvs.host.media;

import com.zarvo.qvs.host.model.Rational;

/** Moves all streams of a source by the same time, so that files start at zero whatever the source's clock says. */
public final class FileClock {
  public static final FileClock AS_GIVEN = new FileClock(0);

  private final double originSeconds;

  private FileClock(double originSeconds) {
    this.originSeconds = originSeconds;
  }

  /** The clock of files whose first picture or sound stands at `seconds` of the source. */
  public static FileClock startingAt(double seconds) {
    return Double.isFinite(seconds) ? new FileClock(seconds) : AS_GIVEN;
  }

  /** A time of the source in the file, in the same unit. */
  public long place(long time, Rational unit) {
    return time - Math.round(originSeconds * unit.den() / unit.num());
  }

  public OutputPacket place(OutputPacket packet, Rational unit) {
    return packet.at(place(packet.pts(), unit), place(packet.dts(), unit));
  }
}
