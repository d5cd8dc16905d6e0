package com.zarvo.qvs.transcoder.capture;

/** Running figures of a capture session. */
public class TranscoderCaptureDeviceSessionInfo {
  /** 1 while capturing. */
  public int running;

  /** Video mode in use. */
  public int renditionIndex;

  /** Video is captured. */
  public int videoEnable;

  /** Input in use. */
  public int videoInput;

  /** Frames since the start. */
  public long videoFrameCountTotal;

  /** Frames since the last change of mode. */
  public long videoFrameCountModeSwitch;

  /** Milliseconds. */
  public long videoLastTimecode;

  /** Number of the last frame. */
  public long videoLastFrameIndex;

  /** Milliseconds. */
  public long videoLastKeyTimecode;

  /** Milliseconds. */
  public long videoLastGOPDuration;

  /** Pixels. */
  public int videoLastFrameWidth;

  /** Pixels. */
  public int videoLastFrameHeight;

  /** Frames per second. */
  public double videoLastFrameRate;

  /** Radians. */
  public double videoLastFrameRotation;

  /** Pixels. */
  public int videoLastFrameXOffset;

  /** Pixels. */
  public int videoLastFrameYOffset;

  /** Flag bits. */
  public long videoLastFrameFlags;

  /** Frames lost. */
  public long videoDroppedFrames;

  /** Ticks per second. */
  public long videoTimescale;

  /** Colour space id. */
  public int videoColorSpace;

  /** Pixels. */
  public int videoFrameWidth;

  /** Pixels. */
  public int videoFrameHeight;

  /** Progressive picture. */
  public boolean videoProgressive;

  /** Top field first. */
  public boolean videoTopFieldFirst;

  /** Two views. */
  public boolean video3D;

  /** One frame kept in this many. */
  public int videoFrameRateDivisor;

  /** Numerator of the rate. */
  public int videoFrameRateEnum;

  /** Denominator of the rate. */
  public int videoFrameRateDen;

  /** Milliseconds. */
  public int videoKeyFrameIntervalAdjusted;

  /** Frames per second. */
  public double videoFrameRate;

  /** Ancillary packets since the start. */
  public long videoVANCPacketsTotal;

  /** Ancillary packets since the last change of mode. */
  public long videoVANCPacketsModeSwitch;

  /** Caption packets since the start. */
  public long videoVANCCEA708PacketsTotal;

  /** Caption packets since the last change of mode. */
  public long videoVANCCEA708PacketsModeSwitch;

  /** Line-21 captions since the start. */
  public long videoLine21CEA708PacketsTotal;

  /** Line-21 captions since the last change of mode. */
  public long videoLine21CEA708PacketsModeSwitch;

  /** Audio is captured. */
  public int audioEnable;

  /** Input in use. */
  public int audioInput;

  /** Blocks since the start. */
  public long audioFrameCountTotal;

  /** Blocks since the last change of mode. */
  public long audioFrameCountModeSwitch;

  /** Samples. */
  public long audioLastTimecode;

  /** Ticks per second. */
  public long audioTimescale;

  /** Samples per second. */
  public int audioSampleRate;

  /** Channel count. */
  public int audioChannels;

  /** Bytes of one sample. */
  public int audioBytesPerSample;
}
