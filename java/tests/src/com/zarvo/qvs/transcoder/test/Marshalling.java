package com.zarvo.qvs.transcoder.test;

import com.zarvo.qvs.transcoder.model.TranscoderNativeParameterValue;
import com.zarvo.qvs.transcoder.model.TranscoderNativeVideoDecodeFrameInfo;
import com.zarvo.qvs.transcoder.model.TranscoderPacket;
import java.util.List;

/** The movers of the native boundary, run on data that the test library makes. */
final class Marshalling {
  static {
    System.load(System.getProperty("qvs.testLibrary"));
  }

  private Marshalling() {}

  /**
   * Sends the first array to a stage that keeps it, then fills the second from that stage. Key 7 is an empty list, key 8
   * claims four numbers and gives one.
   */
  static native void echo(TranscoderNativeParameterValue[] sent, TranscoderNativeParameterValue[] asked);

  /** Reports a picture of 7x5; the i-th record's numbers start at 10 i, the first packet has no words. */
  static native boolean report(TranscoderNativeVideoDecodeFrameInfo info, int timecodes, int packets);

  /** Adds a packet of video, "video", one whose bytes an encoder wrote into the array, and one of audio, "sound". */
  static native void packets(List<TranscoderPacket> list, byte[] array);
}
