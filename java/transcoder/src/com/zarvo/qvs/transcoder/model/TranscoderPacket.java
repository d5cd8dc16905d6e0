package com.zarvo.qvs.transcoder.model;

/** A coded packet, video or audio, as it leaves an encoder or enters the off-line transcoder. */
public class TranscoderPacket {
  /** The coded bytes. */
  public byte[] buffer;

  /** First used byte of {@code buffer}. */
  public int offset;

  /** Bytes used. */
  public long len;

  /** 9 video, 8 audio. */
  public int type;

  /** Video: milliseconds. Audio: samples at {@code sampleRate}. */
  public long timecode;

  /** Presentation less decode time, milliseconds. */
  public int timecodeOffset;

  /** Video: 0 unknown, 1 key, 2 inter, 3 disposable inter. Audio: 0. */
  public int frameType;

  /** Off-line only: the packet is codec configuration. */
  public boolean vodIsCodecConfig;

  /** Off-line only: number of the packet in its batch, -1 for none. */
  public int vodPacketsIndex;

  /** Off-line only: the packet comes from the encoder. */
  public boolean vodIsEncode;

  /** Audio only: samples per second. */
  public int sampleRate;

  /** Audio only: channel count. */
  public int channels;
}
