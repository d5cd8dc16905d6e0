package com.zarvo.qvs.host.model;

/**
 * What decoded sound is turned into before any rendition sees it.
 *
 * @param sampleRate samples a second, 0 for the source's own
 * @param channels 0 for the source's own
 * @param sourceMask speaker bits of the source, 0 for the usual ones
 * @param targetMask speaker bits of the result, 0 for the usual ones
 */
public record AudioConversion(int sampleRate, int channels, int sourceMask, int targetMask) {
  public static final AudioConversion NONE = new AudioConversion(0, 0, 0, 0);

  public boolean isNeeded() {
    return sampleRate != 0 || channels != 0 || sourceMask != 0 || targetMask != 0;
  }
}
