package com.zarvo.qvs.host.session;

import java.util.LinkedHashMap;
import java.util.Map;

/**
 * What measuring a rendition has come to so far.
 *
 * @param pictures that were measured
 * @param missed pictures that were to be measured and could not
 * @param squaredError mean over the samples of all pictures measured
 * @param similarity mean over these pictures
 * @param lastSquaredError of the last one
 * @param lastSimilarity of the last one
 * @param lastMs its time
 * @param trouble why pictures could not be measured, null where nothing was in the way
 */
public record QualityFigures(
    long pictures, long missed, double squaredError, double similarity, double lastSquaredError, double lastSimilarity,
    long lastMs, String trouble) {
  static final QualityFigures NONE = new QualityFigures(0, 0, Double.NaN, Double.NaN, Double.NaN, Double.NaN, 0, null);

  /** What stands for pictures without a difference. */
  private static final double MOST_DECIBELS = 100;

  private static final double PEAK = 255.0 * 255.0;

  /** PSNR over all pictures measured, NaN before the first. */
  public double psnrDb() {
    return decibels(squaredError);
  }

  /** PSNR of the last one. */
  public double lastPsnrDb() {
    return decibels(lastSquaredError);
  }

  private static double decibels(double squaredError) {
    return squaredError == 0 ? MOST_DECIBELS : Math.min(MOST_DECIBELS, 10 * Math.log10(PEAK / squaredError));
  }

  QualityFigures with(double error, double similar, long timeMs) {
    double before = pictures == 0 ? 0 : squaredError * pictures;
    double similarBefore = pictures == 0 ? 0 : similarity * pictures;
    long now = pictures + 1;
    return new QualityFigures(
        now, missed, (before + error) / now, (similarBefore + similar) / now, error, similar, timeMs, trouble);
  }

  QualityFigures without(String why) {
    return new QualityFigures(
        pictures, missed + 1, squaredError, similarity, lastSquaredError, lastSimilarity, lastMs, why);
  }

  /** As in the report. */
  public Map<String, Object> toMap() {
    Map<String, Object> map = new LinkedHashMap<>();
    map.put("pictures", pictures);
    map.put("missed", missed);
    map.put("psnrDb", psnrDb());
    map.put("ssim", similarity);
    map.put("lastPsnrDb", lastPsnrDb());
    map.put("lastSsim", lastSimilarity);
    map.put("lastSeconds", pictures == 0 ? null : lastMs / 1000.0);
    if (trouble != null) map.put("trouble", trouble);
    return map;
  }
}
