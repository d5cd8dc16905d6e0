package com.zarvo.qvs.transcoder.capture;

import java.util.ArrayList;
import java.util.List;

/** What a capture device is. */
public class TranscoderCaptureDeviceInfo {
  /** Device id. */
  public int id;

  /** Kind of device. */
  public int implementation;

  /** Id of the hardware. */
  public long hardwareId;

  /** Model. */
  public String modelName;

  /** Shown name. */
  public String displayName;

  /** Finds the video mode by itself. */
  public boolean inputFormatDetection;

  /** Flag bits. */
  public long flags;

  /** Usable. */
  public boolean active;

  /** Capturing. */
  public boolean running;

  /** Bits of the video inputs. */
  public long videoInputs;

  /** Bits of the audio inputs. */
  public long audioInputs;

  /** Receives the video modes. */
  public List<TranscoderCaptureDeviceRenditionInfo> renditions = new ArrayList<>();
}
