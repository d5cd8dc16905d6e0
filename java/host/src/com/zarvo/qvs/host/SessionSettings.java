package com.zarvo.qvs.host;

import java.util.List;

/**
 * What a session is to do.
 *
 * @param name of the stream, for the log
 * @param codec of the pictures; null leaves pictures out
 * @param renditions may be empty: the session then only decodes
 * @param parallel true to let the encoders of one session work side by side
 * @param keyFrameSeconds longest time from key frame to key frame
 * @param audio null leaves sound out
 * @param previewWidth pixels, width of the pictures that SessionOutput is given
 */
record SessionSettings(
    String name,
    VideoCodec codec,
    StreamInfo source,
    List<RenditionSpec> renditions,
    List<OverlaySpec> overlays,
    boolean parallel,
    double keyFrameSeconds,
    AudioSettings audio,
    int previewWidth) {}
