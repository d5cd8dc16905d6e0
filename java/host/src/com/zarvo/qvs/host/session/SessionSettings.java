package com.zarvo.qvs.host.session;

import com.zarvo.qvs.host.media.StreamInfo;
import com.zarvo.qvs.host.model.Deinterlace;
import com.zarvo.qvs.host.model.OverlaySpec;
import com.zarvo.qvs.host.model.RenditionSpec;
import com.zarvo.qvs.host.model.VideoCodec;
import java.util.List;

/**
 * What a session is to do.
 *
 * @param name of the stream, for the log
 * @param codec of the pictures; null leaves pictures out
 * @param source the stream of pictures
 * @param config its codec configuration as the container keeps it
 * @param renditions may be empty: the session then only decodes
 * @param parallel true to let the encoders of one session work side by side
 * @param keyFrameSeconds longest time from key frame to key frame
 * @param audio null leaves sound out
 * @param previewWidth pixels, width of the pictures that SessionOutput is given
 */
public record SessionSettings(
    String name,
    VideoCodec codec,
    StreamInfo source,
    byte[] config,
    Deinterlace deinterlace,
    List<RenditionSpec> renditions,
    List<OverlaySpec> overlays,
    boolean parallel,
    double keyFrameSeconds,
    AudioSettings audio,
    int previewWidth) {}
