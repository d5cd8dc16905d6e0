package com.zarvo.qvs.host.job;

import com.zarvo.qvs.host.model.ImageFormat;
import com.zarvo.qvs.host.model.StillFit;
import com.zarvo.qvs.host.model.StillSize;
import java.nio.file.Path;

/**
 * What still pictures are made of a file, and where they go.
 *
 * @param folder for the files
 * @param choice which pictures
 * @param exact the picture shown at a time, instead of the key picture at or before it
 * @param best of those up to the next time the one with most to see
 * @param storyboard sheets of tiles with a WebVTT file instead of a file a picture
 */
public record ThumbsSettings(
    Path input,
    Path folder,
    ThumbChoice choice,
    StillSize size,
    StillFit fit,
    ImageFormat format,
    boolean exact,
    boolean best,
    boolean deinterlace,
    boolean storyboard,
    Overwrite overwrite) {}
