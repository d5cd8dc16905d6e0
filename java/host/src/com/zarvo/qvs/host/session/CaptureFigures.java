package com.zarvo.qvs.host.session;

/**
 * What a capture came to.
 *
 * @param droppedPictures that came faster than they were taken
 * @param deviceDroppedPictures that came faster than the device could take them
 * @param withheldPictures that came without a signal
 * @param slatePictures that stood in
 * @param worstClockOffsetMs by which a picture's time was off the wall clock when it was taken
 * @param silentSeconds of silence in the place of sound
 */
public record CaptureFigures(
    long droppedPictures, long deviceDroppedPictures, long withheldPictures, long slatePictures, long worstClockOffsetMs,
    double silentSeconds) {}
