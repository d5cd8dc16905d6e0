package com.zarvo.qvs.host.media;

import java.util.List;
import java.util.Map;

/** What the segments of a playlist are made of. */
enum SegmentForm {
  /** Each can be read on its own. */
  TRANSPORT_STREAM("mpegts", "ts", Map.of()),
  /** Each is read behind an initialisation that all share. Times are absolute in each, whatever came before. */
  FRAGMENTS(
      "mp4",
      "m4s",
      Map.of(
          "movflags", "+frag_custom+empty_moov+default_base_moof+frag_discont+skip_trailer+negative_cts_offsets",
          "use_editlist", "0"));

  /** As libavformat names it. */
  final String muxer;

  /** Of the segments' files. */
  final String ending;

  /** Settings of the muxer. */
  final Map<String, String> options;

  SegmentForm(String muxer, String ending, Map<String, String> options) {
    this.muxer = muxer;
    this.ending = ending;
    this.options = options;
  }

  /** Players of playlists take H.265 in fragments alone, and H.264 in transport streams the longest. */
  static SegmentForm of(List<? extends OutputTrack> tracks) {
    return tracks.stream().anyMatch(OutputTrack::isHevc) ? FRAGMENTS : TRANSPORT_STREAM;
  }
}
