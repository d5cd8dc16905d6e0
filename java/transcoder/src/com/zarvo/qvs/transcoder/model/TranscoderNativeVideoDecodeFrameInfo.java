package com.zarvo.qvs.transcoder.model;

import java.util.ArrayList;
import java.util.List;

/**
 * What one decode step tells of the picture. The caller supplies the two lists; records are added to them.
 */
public class TranscoderNativeVideoDecodeFrameInfo {
  /** Coded width, pixels. */
  public long frameWidth;

  /** Coded height, pixels. */
  public long frameHeight;

  /** Shown width, pixels. */
  public long displayWidth;

  /** Shown height, pixels. */
  public long displayHeight;

  /** Pictures that the session has decoded. */
  public long frameCount;

  /** Frames per second, 0 unknown. */
  public double frameRate;

  /** Receives timecode records. The spelling is part of the native contract. */
  public List<TranscoderNativeVideoDecodeTimecodeInfo> timcodeInfo = new ArrayList<>();

  /** Receives ancillary packets. */
  public List<TranscoderNativeVideoDecodeAncillaryData> ancillaryData = new ArrayList<>();
}
