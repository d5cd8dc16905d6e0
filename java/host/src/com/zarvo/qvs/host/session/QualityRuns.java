package com.zarvo.qvs.host.session;

/** What all renditions of a session share that are measured. */
interface QualityRuns {
  /** True where a rendition that has had so many runs may begin another, over so many pixels. */
  boolean begin(long runs, double pixels);

  /** Has the measuring thread do that, after all that it was given before. */
  void submit(Runnable step);

  /** By which pictures are copied on their way to an encoder. */
  EncoderInputTap tap();
}
