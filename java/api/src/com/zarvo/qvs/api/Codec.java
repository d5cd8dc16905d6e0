package com.zarvo.qvs.api;

import com.zarvo.qvs.host.model.VideoCodec;

/** Codecs of pictures. All can be decoded. */
public enum Codec {
  H264(VideoCodec.H264),
  H265(VideoCodec.H265),
  VP8(VideoCodec.VP8),
  VP9(VideoCodec.VP9),
  H263(VideoCodec.H263),
  MPEG4(VideoCodec.MPEG4),
  MPEG2(VideoCodec.MPEG2),
  SPARK(VideoCodec.SPARK);

  final VideoCodec own;

  Codec(VideoCodec own) {
    this.own = own;
  }

  /** True where rungs can be made in it. */
  public boolean encodes() {
    return own.encodes;
  }

  static Codec of(VideoCodec own) {
    for (Codec codec : values()) if (codec.own == own) return codec;
    throw new IllegalArgumentException(own + " has no name here");
  }
}
