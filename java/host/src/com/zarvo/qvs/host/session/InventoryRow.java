package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.model.VideoCodec;
import java.util.List;

/**
 * What the transcoder knows of a back end before it has looked: its name, what it serves, and the library that it lives in.
 *
 * @param codecs for people
 * @param trial the codec that a trial encodes in, null for none
 */
public record InventoryRow(String name, Kind kind, String codecs, String library, VideoCodec trial) {
  /** What a back end is for. */
  public enum Kind {
    ENCODER("encoder"),
    DECODER("decoder"),
    AUDIO_ENCODER("audio encoder"),
    AUDIO_DECODER("audio decoder"),
    SCALER("scaler");

    private final String label;

    Kind(String label) {
      this.label = label;
    }

    @Override
    public String toString() {
      return label;
    }
  }

  /** The transcoder's own library: what is in it needs no plug-in. */
  public static final String TRANSCODER = "libqvs-transcoder.so";

  static final List<InventoryRow> KNOWN =
      List.of(
          builtIn(Kind.ENCODER, "H.264, VP8, VP9"),
          encoder("software", "H.265", "libqvs-vencoder-h265-mainconcept.so", VideoCodec.H265),
          builtIn(Kind.DECODER, "H.264, H.265, VP8, VP9"),
          builtIn(Kind.DECODER, "MPEG-2, MPEG-4, H.263, Spark"),
          builtIn(Kind.AUDIO_ENCODER, "AAC, Opus, Vorbis"),
          builtIn(Kind.AUDIO_DECODER, "AAC, MP1, MP2, MP3, Opus"),
          builtIn(Kind.AUDIO_DECODER, "Vorbis, Speex, G.711, PCM"),
          encoder("x264", "H.264", "libqvs-vencoder-h264-x264.so", VideoCodec.H264),
          encoder("x265", "H.265", "libqvs-vencoder-h265-x265.so", VideoCodec.H265),
          encoder("vaapi", "H.264", "libqvs-vencoder-h264-vaapi.so", VideoCodec.H264),
          encoder("vaapi", "H.265", "libqvs-vencoder-h265-vaapi.so", VideoCodec.H265),
          encoder("vaapi", "VP9", "libqvs-vencoder-vp9-vaapi.so", VideoCodec.VP9),
          encoder("quicksync", "H.264", "libqvs-vencoder-h264-quicksync-drm.so", VideoCodec.H264),
          encoder("quicksync", "H.264", "libqvs-vencoder-h264-quicksync-x11.so", VideoCodec.H264),
          encoder("quicksync", "H.265", "libqvs-vencoder-h265-quicksync-drm.so", VideoCodec.H265),
          encoder("quicksync", "H.265", "libqvs-vencoder-h265-quicksync-x11.so", VideoCodec.H265),
          decoder("quicksync", "H.264", "libqvs-vdecoder-h264-quicksync-drm.so"),
          decoder("quicksync", "H.264", "libqvs-vdecoder-h264-quicksync-x11.so"),
          decoder("quicksync", "MPEG-2", "libqvs-vdecoder-mp2-quicksync-drm.so"),
          decoder("quicksync", "MPEG-2", "libqvs-vdecoder-mp2-quicksync-x11.so"),
          encoder("nvenc", "H.264, H.265", "libqvs-vencoder-h26x-nvenc12.so", VideoCodec.H264),
          encoder("vega", "H.264, H.265", "libqvs-vencoder-h26x-advantechvega.so", VideoCodec.H264),
          encoder("u30", "H.264, H.265", "libqvs-vencoder-h26x-xilinxu30.so", VideoCodec.H264),
          decoder("u30", "H.264, H.265", "libqvs-vdecoder-h26x-xilinxu30.so"),
          new InventoryRow(
              "intrinsic-scaler", Kind.SCALER, "halves, overlays", "libqvs-videoframe-intrinsic-scaler.so", null));

  private static InventoryRow builtIn(Kind kind, String codecs) {
    return new InventoryRow("software", kind, codecs, TRANSCODER, null);
  }

  private static InventoryRow encoder(String name, String codecs, String library, VideoCodec trial) {
    return new InventoryRow(name, Kind.ENCODER, codecs, library, trial);
  }

  private static InventoryRow decoder(String name, String codecs, String library) {
    return new InventoryRow(name, Kind.DECODER, codecs, library, null);
  }

  /** True for what is in the transcoder itself. */
  public boolean isBuiltIn() {
    return library.equals(TRANSCODER);
  }
}
